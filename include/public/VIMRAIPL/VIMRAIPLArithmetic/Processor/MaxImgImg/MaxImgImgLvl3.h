#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise maximum of two images of equal size, the values compared as they are
/// (not after conversion to the output type); see docs/operations.md.
struct MaxImgImgOperation {
    static constexpr const char* s_name = "MaxImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eMaxImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eMaxImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eMaxImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eMax>>>;
    using Rule = SizeRule;
};

class MaxImgImgLvl3 final : public PixelwiseLvl3<MaxImgImgLvl3, MaxImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
