#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GpuLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise product of two images of equal size. Integer results wrap around in the
/// computation type; see docs/operations.md.
struct MultiplyImgImgOperation {
    static constexpr const char* s_name = "MultiplyImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eMultiplyImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eMultiplyImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eMultiplyImgImgLvl3;
    static constexpr auto s_toolTipGpuLvl3 = eProcessorMessage::eMultiplyImgImgGpuLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition>>>;
    using Rule = SizeRule;
};

class MultiplyImgImgLvl3 final : public PixelwiseLvl3<MultiplyImgImgLvl3, MultiplyImgImgOperation> {};
class MultiplyImgImgGpuLvl3 final : public GpuLvl3<MultiplyImgImgGpuLvl3, MultiplyImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
