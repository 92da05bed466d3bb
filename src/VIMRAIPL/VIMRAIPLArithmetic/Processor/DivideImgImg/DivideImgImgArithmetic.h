#pragma once

#include "../../Kernel/Compositions.h"

#include <type_traits>

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
        using T = typename V::Lane;
        if constexpr (std::is_same_v<T, float>) {
            return lanewise(a, b, [](auto f, auto x, auto y) { return zeroWhereZero(f, divide(f, x, y), y); });
        } else {
            // Through float; unsigned 32-bit back through the unsigned truncation,
            // narrower types keeping the low bits so that -32768 / -1 wraps like
            // the integer quotient.
            const auto q = applyVector(widen<float>(a), widen<float>(b));
            if constexpr (std::is_same_v<T, unsigned int>) {
                return narrow<unsigned int>(q);
            } else {
                return wrapFrom32<T>(truncate(q));
            }
        }
    }
};

}  // namespace vimra::imaproc::arithm
