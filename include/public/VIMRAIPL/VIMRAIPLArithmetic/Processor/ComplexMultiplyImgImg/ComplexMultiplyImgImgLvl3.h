#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Pixel-wise product of two complex images, each given as its real and imaginary
/// images: (re1 + i im1)(re2 + i im2) in single precision, into two float images
/// when none are given; see docs/operations.md.
struct ComplexMultiplyImgImgOperation {
    static constexpr const char* s_name = "ComplexMultiplyImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eComplexMultiplyImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eComplexMultiplyImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eComplexMultiplyImgImgLvl3;
    /// Real 1, imaginary 1, real 2, imaginary 2.
    using Inputs = TypeList<shape::In1, shape::In2, shape::In3, shape::In4>;
    /// Real and imaginary parts of the product: float images of InImg1's geometry.
    using Outputs = TypeList<
        OutputChain<attr::OutImg1, attr::OutImg1, attr::OutYStrip2d1,
                    FixedTypeOutput<attr::InImg1, image::eImageBufferType::eFloat, attr::OutImg1>>,
        OutputChain<attr::OutImg2, attr::OutImg2, attr::OutYStrip2d2,
                    FixedTypeOutput<attr::InImg1, image::eImageBufferType::eFloat, attr::OutImg2>>>;
    using Rule = OwnRule<ComplexMultiplyImgImgOperation>;

    /// The two parts of each operand share size and type, so do the two outputs,
    /// and all six images have one size. The operands may differ in type.
    template <class Level>
    static processor::RulePtr createRule(const Level& level) {
        using processor::andRule;
        using processor::matchSizeAndType;
        return andRule(andRule(matchSizeAndType(level.template attribute<attr::InImg1>(),
                                                level.template attribute<attr::InImg2>()),
                               matchSizeAndType(level.template attribute<attr::InImg3>(),
                                                level.template attribute<attr::InImg4>())),
                       andRule(matchSizeAndType(level.template attribute<attr::OutImg1>(),
                                                level.template attribute<attr::OutImg2>()),
                               level.sizeRuleOverImages()));
    }
};

class ComplexMultiplyImgImgLvl3 final : public PixelwiseLvl3<ComplexMultiplyImgImgLvl3, ComplexMultiplyImgImgOperation> {};

}  // namespace vimra::imaproc::arithm
