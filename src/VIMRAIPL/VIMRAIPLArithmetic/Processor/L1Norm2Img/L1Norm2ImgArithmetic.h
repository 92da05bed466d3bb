#pragma once

#include "../../Kernel/Compositions.h"

#include <type_traits>

namespace vimra::imaproc::arithm {

/// |a| + |b| (+ |c|), converted to the output type. Floats lose their sign bits
/// and are added in order. Integers, standard kernel: each magnitude in the input
/// type (the most negative value is its own magnitude), added in the input's
/// width, wrapping. Integers, vector kernels: 8- and 16-bit inputs are widened
/// to 16- and 32-bit lanes first, where the sum cannot overflow, and saturate
/// when narrowed to the output; 32-bit inputs add in their own width.
struct L1NormFaces {
    template <class TOut, class T, class... R>
    VIMRA_HOST_DEVICE static constexpr TOut apply(T first, R... rest) {
        if constexpr (std::is_same_v<T, float>) {
            float s = kernel::clearSign(first);
            ((s = s + kernel::clearSign(rest)), ...);
            return kernel::convertWrap<TOut>(s);
        } else {
            T s = magnitude(first);
            ((s = kernel::wrapAdd(s, magnitude(rest))), ...);
            return kernel::convertWrap<TOut>(s);
        }
    }

    /// Vector face: a block of the sum, in 16-bit lanes for 8-bit inputs, 32-bit
    /// lanes for 16-bit inputs and the input type otherwise.
    template <class V, class... R>
    static auto applyVector(const V& first, const R&... rest) {
        auto s = magnitudeVector(first);
        ((s = lanewise(s, magnitudeVector(rest), [](auto lanes, auto x, auto y) { return add(lanes, x, y); })), ...);
        return s;
    }

private:
    template <class T>
    VIMRA_HOST_DEVICE static constexpr T magnitude(T x) {
        if constexpr (std::is_signed_v<T>) {
            return kernel::wrapAbs(x);
        } else {
            return x;
        }
    }

    template <class V>
    static auto magnitudeVector(const V& x) {
        using T = typename V::Lane;
        if constexpr (std::is_same_v<T, float>) {
            return lanewise(x, [](auto lanes, auto r) { return clearSign(lanes, r); });
        } else if constexpr (sizeof(T) < 4) {
            using Wide = std::conditional_t<sizeof(T) == 1, short, int>;
            const auto w = widen<Wide>(x);
            if constexpr (std::is_signed_v<T>) {
                return lanewise(w, [](auto lanes, auto r) { return absolute(lanes, r); });
            } else {
                return w;
            }
        } else if constexpr (std::is_signed_v<T>) {
            return lanewise(x, [](auto lanes, auto r) { return absolute(lanes, r); });  // wraps like the standard
        } else {
            return x;
        }
    }
};

struct L1Norm2ImgArithmetic : kernel::SharedTypeConvert<2>, L1NormFaces {};

}  // namespace vimra::imaproc::arithm
