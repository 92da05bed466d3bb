#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise minimum of two images of equal size, the values compared as they are
/// (not after conversion to the output type); see docs/operations.md.
struct MinImgImgOperation {
    static constexpr const char* s_name = "MinImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eMinImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eMinImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eMinImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eMin>>>;
    using Rule = SizeRule;
};

class MinImgImgLvl3 final : public PixelwiseLvl3<MinImgImgLvl3, MinImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
