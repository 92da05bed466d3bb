#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GpuLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise difference of two images of equal size (first minus second). Integer results wrap around in the
/// computation type; see docs/operations.md.
struct SubtractImgImgOperation {
    static constexpr const char* s_name = "SubtractImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eSubtractImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eSubtractImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eSubtractImgImgLvl3;
    static constexpr auto s_toolTipGpuLvl3 = eProcessorMessage::eSubtractImgImgGpuLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eSubtraction>>>;
    using Rule = SizeRule;
};

class SubtractImgImgLvl3 final : public PixelwiseLvl3<SubtractImgImgLvl3, SubtractImgImgOperation> {};
class SubtractImgImgGpuLvl3 final : public GpuLvl3<SubtractImgImgGpuLvl3, SubtractImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
