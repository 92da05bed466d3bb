#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/FormulaLevels.h>

namespace vimra::imaproc::arithm {

class Formula3dImgLvl2;

/// An image computed from a 3d formula over up to nine optional images (see
/// docs/formula.md for the language, docs/operations.md for the pixel rules).
struct Formula3dImgOperation {
    static constexpr const char* s_name = "Formula3dImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eFormula3dImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eFormula3dImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eFormula3dImgLvl3;
    static constexpr auto s_splitType = processor::eSubImageSplitType::eVolume3d;
    using KernelStrip = image::InputImageZStrip3dWithKernel;
    using OutStrip = attr::OutZStrip3d;
    using FormulaAttr = attr::InImageFormula3d;
    using BorderChain =
        LevelChain<attr::InOptConvolBorder3d, attr::InConvolBorder3d, attr::InConvolBorder3d>;
    using Inputs = TypeList<
        ImageChain<attr::InOptImg3d1, attr::InOptSubImg3d1, attr::InOptKnlZStrip3d1>,
        ImageChain<attr::InOptImg3d2, attr::InOptSubImg3d2, attr::InOptKnlZStrip3d2>,
        ImageChain<attr::InOptImg3d3, attr::InOptSubImg3d3, attr::InOptKnlZStrip3d3>,
        ImageChain<attr::InOptBinImg3d1, attr::InOptSubBinImg3d1, attr::InOptKnlBinZStrip3d1>,
        ImageChain<attr::InOptBinImg3d2, attr::InOptSubBinImg3d2, attr::InOptKnlBinZStrip3d2>,
        ImageChain<attr::InOptBinImg3d3, attr::InOptSubBinImg3d3, attr::InOptKnlBinZStrip3d3>,
        ImageChain<attr::InOptLabImg3d1, attr::InOptSubLabImg3d1, attr::InOptKnlLabZStrip3d1>,
        ImageChain<attr::InOptLabImg3d2, attr::InOptSubLabImg3d2, attr::InOptKnlLabZStrip3d2>,
        ImageChain<attr::InOptLabImg3d3, attr::InOptSubLabImg3d3, attr::InOptKnlLabZStrip3d3>>;
    using Values = TypeList<LevelChain<FormulaAttr, FormulaAttr, FormulaAttr>, BorderChain>;
    using Outputs =
        TypeList<OutputChain<attr::OutImg, attr::OutImg, OutStrip, FormulaOutput<FormulaAttr>>>;
    using Rule = FormulaRule;
    using Lvl2Class = Formula3dImgLvl2;
    template <class L1>
    static ProcessingResult<bool> chooseProvider(const L1& level, unsigned priority,
                                                 processor::ProviderPtr& provider) {
        return FormulaLvl1Provider<Formula3dImgOperation>::choose(level, priority, provider);
    }
};

class Formula3dImgLvl3 final : public FormulaLvl3<Formula3dImgLvl3, Formula3dImgOperation> {};

}  // namespace vimra::imaproc::arithm
