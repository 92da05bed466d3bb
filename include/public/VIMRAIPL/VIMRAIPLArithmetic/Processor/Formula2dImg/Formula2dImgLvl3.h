#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/FormulaLevels.h>

namespace vimra::imaproc::arithm {

class Formula2dImgLvl2;

/// An image computed from a 2d formula over up to nine optional images (see
/// docs/formula.md for the language, docs/operations.md for the pixel rules).
struct Formula2dImgOperation {
    static constexpr const char* s_name = "Formula2dImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eFormula2dImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eFormula2dImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eFormula2dImgLvl3;
    static constexpr auto s_splitType = processor::eSubImageSplitType::ePlane2d;
    using KernelStrip = image::InputImageYStrip2dWithKernel;
    using OutStrip = attr::OutYStrip2d;
    using FormulaAttr = attr::InImageFormula2d;
    using BorderChain =
        LevelChain<attr::InOptConvolBorder2d, attr::InConvolBorder2d, attr::InConvolBorder2d>;
    using Inputs = TypeList<
        ImageChain<attr::InOptImg1, attr::InOptSubImg2d1, attr::InOptKnlYStrip2d1>,
        ImageChain<attr::InOptImg2, attr::InOptSubImg2d2, attr::InOptKnlYStrip2d2>,
        ImageChain<attr::InOptImg3, attr::InOptSubImg2d3, attr::InOptKnlYStrip2d3>,
        ImageChain<attr::InOptBinImg1, attr::InOptSubBinImg2d1, attr::InOptKnlBinYStrip2d1>,
        ImageChain<attr::InOptBinImg2, attr::InOptSubBinImg2d2, attr::InOptKnlBinYStrip2d2>,
        ImageChain<attr::InOptBinImg3, attr::InOptSubBinImg2d3, attr::InOptKnlBinYStrip2d3>,
        ImageChain<attr::InOptLabImg1, attr::InOptSubLabImg2d1, attr::InOptKnlLabYStrip2d1>,
        ImageChain<attr::InOptLabImg2, attr::InOptSubLabImg2d2, attr::InOptKnlLabYStrip2d2>,
        ImageChain<attr::InOptLabImg3, attr::InOptSubLabImg2d3, attr::InOptKnlLabYStrip2d3>>;
    using Values = TypeList<LevelChain<FormulaAttr, FormulaAttr, FormulaAttr>, BorderChain>;
    using Outputs =
        TypeList<OutputChain<attr::OutImg, attr::OutImg, OutStrip, FormulaOutput<FormulaAttr>>>;
    using Rule = FormulaRule;
    using Lvl2Class = Formula2dImgLvl2;
    template <class L1>
    static ProcessingResult<bool> chooseProvider(const L1& level, unsigned priority,
                                                 processor::ProviderPtr& provider) {
        return FormulaLvl1Provider<Formula2dImgOperation>::choose(level, priority, provider);
    }
};

class Formula2dImgLvl3 final : public FormulaLvl3<Formula2dImgLvl3, Formula2dImgOperation> {};

}  // namespace vimra::imaproc::arithm
