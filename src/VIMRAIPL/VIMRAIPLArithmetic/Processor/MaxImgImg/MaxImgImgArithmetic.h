#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// The larger value in the comparison type; a NaN in either input gives NaN.
struct MaxImgImgArithmetic : kernel::BinaryInComparisonType {
    template <class T>
    static constexpr T apply(T a, T b) {
        return kernel::larger(a, b);
    }

    /// Vector face: blocks of the two inputs' comparison lanes (which differ only
    /// where a uint32 meets a signed input).
    template <class X, class Y>
    static auto applyVector(const X& a, const Y& b) {
        return maximum(a, b);
    }
};

}  // namespace vimra::imaproc::arithm
