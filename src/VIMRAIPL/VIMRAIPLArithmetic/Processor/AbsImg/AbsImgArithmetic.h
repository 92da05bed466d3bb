#pragma once

#include "../../Kernel/Compositions.h"

#include <type_traits>

namespace vimra::imaproc::arithm {

/// Absolute value, converted to the output type by the standard conversion.
/// Signed 16- and 32-bit values are their own type's absolute value (the most
/// negative value stays itself); signed 8-bit values are widened to 16 bits first,
/// so -128 gives 128; floats lose their sign bit.
struct AbsImgArithmetic : kernel::UnaryConvert {
    template <class TOut, class T>
    static constexpr TOut apply(T x) {
        if constexpr (std::is_same_v<T, float>) {
            return kernel::convertWrap<TOut>(kernel::clearSign(x));
        } else if constexpr (std::is_same_v<T, signed char>) {
            return kernel::convertWrap<TOut>(kernel::wrapAbs(static_cast<short>(x)));
        } else if constexpr (std::is_signed_v<T>) {
            return kernel::convertWrap<TOut>(kernel::wrapAbs(x));
        } else {
            return kernel::convertWrap<TOut>(x);
        }
    }

    /// Vector face: V is an instruction set's block of input lanes; the result is
    /// a block of the value type (signed 8-bit input gives 16-bit lanes), which
    /// the kernel converts to the output type.
    template <class V>
    static auto applyVector(const V& x) {
        using T = typename V::Lane;
        if constexpr (std::is_same_v<T, float>) {
            return lanewise(x, [](auto f, auto r) { return clearSign(f, r); });
        } else if constexpr (std::is_same_v<T, signed char>) {
            return applyVector(widen<short>(x));
        } else if constexpr (std::is_signed_v<T>) {
            return lanewise(x, [](auto lanes, auto r) { return absolute(lanes, r); });  // max(x, 0 - x)
        } else {
            return x;
        }
    }
};

}  // namespace vimra::imaproc::arithm
