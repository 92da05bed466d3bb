#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// L1 (taxicab) norm of three images of one pixel type: |a| + |b| + |c|, added as
/// L1Norm2Img adds; see docs/operations.md.
struct L1Norm3ImgOperation {
    static constexpr const char* s_name = "L1Norm3Img";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eL1Norm3ImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eL1Norm3ImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eL1Norm3ImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2, shape::In3>;
    using Outputs = TypeList<shape::Out<PromoteUnaryOutput<processor::ePromoteUnaryType::eSquare, attr::InImg1>>>;
    using Rule = SizeAndInputTypeRule;
};

class L1Norm3ImgLvl3 final : public PixelwiseLvl3<L1Norm3ImgLvl3, L1Norm3ImgOperation> {};

}  // namespace vimra::imaproc::arithm
