#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GpuLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise absolute value. The most negative 16- and 32-bit values are their
/// own absolute value; see docs/operations.md.
struct AbsImgOperation {
    static constexpr const char* s_name = "AbsImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAbsImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAbsImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAbsImgLvl3;
    static constexpr auto s_toolTipGpuLvl3 = eProcessorMessage::eAbsImgGpuLvl3;
    using Inputs = TypeList<shape::In>;
    using Outputs = TypeList<shape::Out<PromoteUnaryOutput<processor::ePromoteUnaryType::eAbs>>>;
    using Rule = SizeRule;
};

class AbsImgLvl3 final : public PixelwiseLvl3<AbsImgLvl3, AbsImgOperation> {};
class AbsImgGpuLvl3 final : public GpuLvl3<AbsImgGpuLvl3, AbsImgOperation> {};

}  // namespace vimra::imaproc::arithm
