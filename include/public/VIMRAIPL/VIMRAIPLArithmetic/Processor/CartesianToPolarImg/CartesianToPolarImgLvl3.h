#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

/// Cartesian to polar coordinates of a vector field given as two float images:
/// rho = sqrt(y*y + x*x) and theta = atan2(y, x) in radians, [-pi, pi]. The
/// vector kernels compute theta with a polynomial approximation; see
/// docs/operations.md.
struct CartesianToPolarImgOperation {
    static constexpr const char* s_name = "CartesianToPolarImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eCartesianToPolarImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eCartesianToPolarImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eCartesianToPolarImgLvl3;
    using Inputs = TypeList<ImageChain<attr::InXImg, attr::InSubImg2d1, attr::InYStrip2d1>,
                            ImageChain<attr::InYImg, attr::InSubImg2d2, attr::InYStrip2d2>>;
    using Outputs =
        TypeList<OutputChain<attr::OutRhoImg, attr::OutRhoImg, attr::OutYStrip2d1, DuplicateOutput<attr::InXImg, attr::OutRhoImg>>,
                 OutputChain<attr::OutThetaImg, attr::OutThetaImg, attr::OutYStrip2d2, DuplicateOutput<attr::InXImg, attr::OutThetaImg>>>;
    using Rule = SizeAndFloatRule;
};

class CartesianToPolarImgLvl3 final : public PixelwiseLvl3<CartesianToPolarImgLvl3, CartesianToPolarImgOperation> {};

}  // namespace vimra::imaproc::arithm
