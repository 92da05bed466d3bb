#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Polar to cartesian coordinates of a vector field given as two float images:
/// x = rho*cos(theta) and y = rho*sin(theta), theta in radians, with one
/// polynomial approximation on every path; see docs/operations.md.
struct PolarToCartesianImgOperation {
    static constexpr const char* s_name = "PolarToCartesianImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::ePolarToCartesianImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::ePolarToCartesianImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::ePolarToCartesianImgLvl3;
    using Inputs = TypeList<ImageChain<attr::InRhoImg, attr::InSubImg2d1, attr::InYStrip2d1>,
                            ImageChain<attr::InThetaImg, attr::InSubImg2d2, attr::InYStrip2d2>>;
    using Outputs =
        TypeList<OutputChain<attr::OutXImg, attr::OutXImg, attr::OutYStrip2d1, DuplicateOutput<attr::InRhoImg, attr::OutXImg>>,
                 OutputChain<attr::OutYImg, attr::OutYImg, attr::OutYStrip2d2, DuplicateOutput<attr::InRhoImg, attr::OutYImg>>>;
    using Rule = SizeAndFloatRule;
};

class PolarToCartesianImgLvl3 final : public PixelwiseLvl3<PolarToCartesianImgLvl3, PolarToCartesianImgOperation> {};

}  // namespace vimra::imaproc::arithm
