#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GpuLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise sum of two images of equal size. Integer results wrap around in the
/// computation type; see docs/operations.md for types and overflow behaviour.
struct AddImgImgOperation {
    static constexpr const char* s_name = "AddImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAddImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAddImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAddImgImgLvl3;
    static constexpr auto s_toolTipGpuLvl3 = eProcessorMessage::eAddImgImgGpuLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition>>>;
    using Rule = SizeRule;
};

class AddImgImgLvl3 final : public PixelwiseLvl3<AddImgImgLvl3, AddImgImgOperation> {};
class AddImgImgGpuLvl3 final : public GpuLvl3<AddImgImgGpuLvl3, AddImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
