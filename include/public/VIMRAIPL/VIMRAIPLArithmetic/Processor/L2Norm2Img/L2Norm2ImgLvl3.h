#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// L2 (euclidian) norm of two images of one pixel type: sqrt(a*a + b*b) in single
/// precision, created as a float image; see docs/operations.md.
struct L2Norm2ImgOperation {
    static constexpr const char* s_name = "L2Norm2Img";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eL2Norm2ImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eL2Norm2ImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eL2Norm2ImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<FixedTypeOutput<attr::InImg1, image::eImageBufferType::eFloat>>>;
    using Rule = SizeAndInputTypeRule;
};

class L2Norm2ImgLvl3 final : public PixelwiseLvl3<L2Norm2ImgLvl3, L2Norm2ImgOperation> {};

}  // namespace vimra::imaproc::arithm
