#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// The larger magnitude, max(|a|, |b|), in the comparison type, which holds every
/// magnitude (int8 -128 gives 128, int32 -2147483648 gives 2147483648). Floats
/// compare with their sign bits cleared (-0 and 0 give +0); a NaN gives NaN.
struct MaxAbsImgImgArithmetic : kernel::BinaryInComparisonType {
    template <class T>
    static constexpr T apply(T a, T b) {
        return kernel::larger(kernel::magnitude(a), kernel::magnitude(b));
    }

    /// Vector face: magnitudes of 32-bit lanes are unsigned, so the mixed
    /// signed/unsigned case does not arise.
    template <class X, class Y>
    static auto applyVector(const X& a, const Y& b) {
        return maximum(magnitude(a), magnitude(b));
    }
};

}  // namespace vimra::imaproc::arithm
