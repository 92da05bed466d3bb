#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// L2 (euclidian) norm of three images of one pixel type: sqrt((a*a + b*b) + c*c)
/// in single precision, created as a float image; see docs/operations.md.
struct L2Norm3ImgOperation {
    static constexpr const char* s_name = "L2Norm3Img";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eL2Norm3ImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eL2Norm3ImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eL2Norm3ImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2, shape::In3>;
    using Outputs = TypeList<shape::Out<FixedTypeOutput<attr::InImg1, image::eImageBufferType::eFloat>>>;
    using Rule = SizeAndInputTypeRule;
};

class L2Norm3ImgLvl3 final : public PixelwiseLvl3<L2Norm3ImgLvl3, L2Norm3ImgOperation> {};

}  // namespace vimra::imaproc::arithm
