#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// a / b in the computation type, 0 where b is zero (-0.0 included). Integer
/// division truncates toward zero; the most negative signed value divided by -1
/// gives itself.
struct DivideImgImgArithmetic : kernel::BinaryInComputationType {
    template <class TC>
    static constexpr TC apply(TC a, TC b) {
        return kernel::guardedDivide(a, b);
    }

    /// Vector face: V is an instruction set's block of computation-type lanes.
    /// Integer lanes are divided in float (exact up to 16-bit lanes; 32-bit
    /// operands beyond 2^24 are rounded first), zero-divisor lanes give 0.
    template <class V>
    static V applyVector(const V& a, const V& b) {
        return vecDivide(a, b);
    }
};

}  // namespace vimra::imaproc::arithm
