#pragma once

#include "../../Kernel/PolarApproximations.h"

#include <cmath>

namespace vimra::imaproc::arithm {

/// (x, y) -> (rho, theta). rho = sqrt(y*y + x*x) on every path. theta: the
/// standard kernel calls the system's atan2f; the vector kernels use the
/// library-free approximation of Kernel/PolarApproximations.h, which differs
/// from atan2f in the last bits, near the axes (|x| <= sqrt_eps snaps) and for
/// y = +0, x < 0 (-pi instead of +pi).
struct CartesianToPolarImgArithmetic : kernel::FloatPairToPair {
    VIMRA_HOST_DEVICE static kernel::Pair<float> apply(float x, float y) {
        return {kernel::radius<kernel::ScalarMath>(x, y), std::atan2(y, x)};
    }

    template <class V>
    static auto applyVector(const V& x, const V& y) {
        return lanewisePair(x, y, [](auto math, auto rx, auto ry, auto& rho, auto& theta) {
            using M = decltype(math);
            rho = kernel::radius<M>(rx, ry);
            theta = kernel::polarAngle<M>(ry, rx);
        });
    }
};

}  // namespace vimra::imaproc::arithm
