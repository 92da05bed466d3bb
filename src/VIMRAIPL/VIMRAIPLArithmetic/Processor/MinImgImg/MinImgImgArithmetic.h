#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// The smaller value in the comparison type; a NaN in either input gives NaN.
struct MinImgImgArithmetic : kernel::BinaryInComparisonType {
    template <class T>
    static constexpr T apply(T a, T b) {
        return kernel::smaller(a, b);
    }

    /// Vector face: blocks of the two inputs' comparison lanes (which differ only
    /// where a uint32 meets a signed input).
    template <class X, class Y>
    static auto applyVector(const X& a, const Y& b) {
        return minimum(a, b);
    }
};

}  // namespace vimra::imaproc::arithm
