#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// L1 (taxicab) norm of two images of one pixel type: |a| + |b|. The standard kernel
/// adds in the input type, wrapping; the vector kernels add in wider lanes and
/// saturate; see docs/operations.md.
struct L1Norm2ImgOperation {
    static constexpr const char* s_name = "L1Norm2Img";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eL1Norm2ImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eL1Norm2ImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eL1Norm2ImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Outputs = TypeList<shape::Out<PromoteUnaryOutput<processor::ePromoteUnaryType::eSquare, attr::InImg1>>>;
    using Rule = SizeAndInputTypeRule;
};

class L1Norm2ImgLvl3 final : public PixelwiseLvl3<L1Norm2ImgLvl3, L1Norm2ImgOperation> {};

}  // namespace vimra::imaproc::arithm
