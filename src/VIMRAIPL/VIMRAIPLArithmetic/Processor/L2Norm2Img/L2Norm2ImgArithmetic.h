#pragma once

#include "../../Kernel/Compositions.h"

#include <cmath>

namespace vimra::imaproc::arithm {

/// sqrt(a*a + b*b (+ c*c)) in single precision: every component converted to
/// float, the squares summed in order, the exact square root taken, then
/// converted to the output type (an integer output truncates to 32 bits first).
/// The AVX-512 kernels fuse each further product into the sum (one rounding
/// instead of two), so they may differ from the other paths in the last bit.
struct L2NormFaces {
    template <class TOut, class T, class... R>
    VIMRA_HOST_DEVICE static TOut apply(T first, R... rest) {
        const float f = static_cast<float>(first);
        float s = f * f;
        ((s = s + static_cast<float>(rest) * static_cast<float>(rest)), ...);
        return kernel::convertWrap<TOut>(std::sqrt(s));
    }

    /// Vector face: a block of float roots.
    template <class V, class... R>
    static auto applyVector(const V& first, const R&... rest) {
        auto s = lanewise(widen<float>(first), [](auto lanes, auto x) { return multiply(lanes, x, x); });
        ((s = lanewise(s, widen<float>(rest), [](auto lanes, auto acc, auto x) { return addSquare(lanes, acc, x); })),
         ...);
        return lanewise(s, [](auto lanes, auto x) { return squareRoot(lanes, x); });
    }
};

struct L2Norm2ImgArithmetic : kernel::SharedTypeConvert<2>, L2NormFaces {};

}  // namespace vimra::imaproc::arithm
