#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise larger magnitude of two images of equal size: max(|in1|, |in2|), never
/// negative (floats: +0 for -0); see docs/operations.md.
struct MaxAbsImgImgOperation {
    static constexpr const char* s_name = "MaxAbsImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eMaxAbsImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eMaxAbsImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eMaxAbsImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eMaxAbs>>>;
    using Rule = SizeRule;
};

class MaxAbsImgImgLvl3 final : public PixelwiseLvl3<MaxAbsImgImgLvl3, MaxAbsImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
