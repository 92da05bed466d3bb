#pragma once

#include "../../Kernel/PolarApproximations.h"

namespace vimra::imaproc::arithm {

/// (rho, theta) -> (x, y) = (cos(theta) * rho, sin(theta) * rho), with the same
/// sine and cosine approximation on every path (Kernel/PolarApproximations.h),
/// so that every kernel gives the same bits.
struct PolarToCartesianImgArithmetic : kernel::FloatPairToPair {
    template <class M, class F>
    VIMRA_HOST_DEVICE static void toCartesian(F rho, F theta, F& x, F& y) {
        F sine, cosine;
        kernel::sineCosine<M>(theta, sine, cosine);
        x = M::multiply(cosine, rho);
        y = M::multiply(sine, rho);
    }

    VIMRA_HOST_DEVICE static kernel::Pair<float> apply(float rho, float theta) {
        kernel::Pair<float> r;
        toCartesian<kernel::ScalarMath>(rho, theta, r.first, r.second);
        return r;
    }

    template <class V>
    static auto applyVector(const V& rho, const V& theta) {
        return lanewisePair(rho, theta, [](auto math, auto r, auto t, auto& x, auto& y) {
            toCartesian<decltype(math)>(r, t, x, y);
        });
    }
};

}  // namespace vimra::imaproc::arithm
