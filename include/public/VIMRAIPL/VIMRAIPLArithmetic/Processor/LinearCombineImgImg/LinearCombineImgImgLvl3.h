#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise linear combination of two images of equal size: in1 * f1 + in2 * f2 in
/// single precision, rounded half away from zero and saturated for integer outputs
/// (the same on every instruction set); see docs/operations.md.
struct LinearCombineImgImgOperation {
    static constexpr const char* s_name = "LinearCombineImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eLinearCombineImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eLinearCombineImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eLinearCombineImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Values = TypeList<ValueChain<attr::InFactor1>, ValueChain<attr::InFactor2>>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eSubtraction>>>;
    using Rule = SizeRule;
};

class LinearCombineImgImgLvl3 final : public PixelwiseLvl3<LinearCombineImgImgLvl3, LinearCombineImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
