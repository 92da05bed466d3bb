#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GpuLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise quotient of two images of equal size; a zero divisor gives 0. Integer quotients
/// truncate toward zero; see docs/operations.md.
struct DivideImgImgOperation {
    static constexpr const char* s_name = "DivideImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eDivideImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eDivideImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eDivideImgImgLvl3;
    static constexpr auto s_toolTipGpuLvl3 = eProcessorMessage::eDivideImgImgGpuLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eDivision>>>;
    using Rule = SizeRule;
};

class DivideImgImgLvl3 final : public PixelwiseLvl3<DivideImgImgLvl3, DivideImgImgOperation> {};
class DivideImgImgGpuLvl3 final : public GpuLvl3<DivideImgImgGpuLvl3, DivideImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
