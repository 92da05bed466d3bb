#pragma once

#include "../../Kernel/Compositions.h"

#include <type_traits>
#include <utility>

namespace vimra::imaproc::arithm {

/// (a + ib)(c + id) with a = real 1, b = imaginary 1, c = real 2, d = imaginary 2,
/// all in float: real c*a - b*d, imaginary a*d + b*c, each product rounded to
/// float before the difference or sum. The AVX-512 kernel of the all-float
/// triple fuses the second product with the sum instead (one rounding), so its
/// results may differ from the other paths' in the last bit.
struct ComplexMultiplyImgImgArithmetic : kernel::ComplexPairInFloat {
    template <eInstructionSet::domain S, class... T>
    struct Bound {
        static constexpr bool s_fused = S == eInstructionSet::eAVX512 && (std::is_same_v<T, float> && ...);

        explicit Bound(const processor::KernelParams&) {}

        constexpr kernel::FloatPair apply(float a, float b, float c, float d) const {
            return {c * a - b * d, a * d + b * c};
        }

        template <class V>
        std::pair<V, V> applyVector(const V& a, const V& b, const V& c, const V& d) const {
            const auto product = [](auto f, auto x, auto y) { return multiply(f, x, y); };
            const V ca = lanewise(c, a, product);
            const V ad = lanewise(a, d, product);
            if constexpr (s_fused) {
                return {lanewise(b, d, ca, [](auto f, auto x, auto y, auto z) { return negatedMultiplyAddFused(f, x, y, z); }),
                        lanewise(b, c, ad, [](auto f, auto x, auto y, auto z) { return multiplyAddFused(f, x, y, z); })};
            } else {
                return {lanewise(ca, lanewise(b, d, product), [](auto f, auto x, auto y) { return subtract(f, x, y); }),
                        lanewise(ad, lanewise(b, c, product), [](auto f, auto x, auto y) { return add(f, x, y); })};
            }
        }
    };
};

}  // namespace vimra::imaproc::arithm
