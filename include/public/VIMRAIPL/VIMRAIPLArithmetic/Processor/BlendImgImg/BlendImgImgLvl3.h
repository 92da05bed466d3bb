#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise blend of two images of equal size: in1 * a + in2 * (1 - a) in single
/// precision, truncated toward zero for integer outputs; see docs/operations.md.
struct BlendImgImgOperation {
    static constexpr const char* s_name = "BlendImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eBlendImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eBlendImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eBlendImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    /// Unset, the multiplier is 0.5: an even mix. (The entry functions always set it.)
    using Values = TypeList<ValueChain<attr::InOptBlendMultiplier, 0.5>>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition>>>;
    using Rule = SizeRule;
};

class BlendImgImgLvl3 final : public PixelwiseLvl3<BlendImgImgLvl3, BlendImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
