#pragma once

// Scalar pixel arithmetic of the standard (portable) kernels. Every rule the C++
// language leaves undefined or implementation-defined (signed overflow,
// out-of-range float-to-int conversion, INT_MIN / -1) is written out here.
//
// Vector kernels must not call these functions: code compiled with wider
// instruction-set flags keeps its helpers in its own namespace.

#include <vimra/image/BufferType.h>

#include <bit>
#include <cstdint>
#include <type_traits>

namespace vimra::imaproc::arithm::kernel {

template <class T>
inline constexpr bool isFloat = std::is_same_v<T, float>;

template <int Bytes, bool Signed>
struct IntegerOf;
template <> struct IntegerOf<1, true> { using type = signed char; };
template <> struct IntegerOf<1, false> { using type = unsigned char; };
template <> struct IntegerOf<2, true> { using type = short; };
template <> struct IntegerOf<2, false> { using type = unsigned short; };
template <> struct IntegerOf<4, true> { using type = int; };
template <> struct IntegerOf<4, false> { using type = unsigned int; };

/// Computation type of a two-input kernel instance (TIn1, TIn2, TOut):
/// float if any of the three is float; otherwise an integer as wide as the
/// widest of the three, unsigned if any type of that width is unsigned.
template <class A, class B, class C>
struct ComputationType {
    static constexpr int width = sizeof(A) > sizeof(B) ? (sizeof(A) > sizeof(C) ? sizeof(A) : sizeof(C))
                                                       : (sizeof(B) > sizeof(C) ? sizeof(B) : sizeof(C));
    static constexpr bool anyUnsigned = (sizeof(A) == width && std::is_unsigned_v<A>) ||
                                        (sizeof(B) == width && std::is_unsigned_v<B>) ||
                                        (sizeof(C) == width && std::is_unsigned_v<C>);
    using type = std::conditional_t<isFloat<A> || isFloat<B> || isFloat<C>, float,
                                    typename IntegerOf<width, !anyUnsigned>::type>;
};
template <class A, class B, class C>
using ComputationTypeT = typename ComputationType<A, B, C>::type;

/// Unsigned arithmetic type for wrap-around integer operations: at least 32 bits
/// so that the usual promotions never produce a signed int that could overflow.
template <class T>
using WrapType = std::conditional_t<(sizeof(T) < 4), unsigned int, std::make_unsigned_t<T>>;

/// Conversion into the computation type: integers by sign or zero extension
/// then reinterpretation (modulo the width of TC); integers to float by rounding
/// to nearest.
template <class TC, class T>
constexpr TC toComputation(T v) {
    return static_cast<TC>(v);  // C++20: integer conversions are modular
}

/// Truncation toward zero to 32 bits; out of range or NaN gives -2147483648,
/// the value x86 conversion instructions produce.
constexpr std::int32_t truncateToInt32(float v) {
    if (v >= -2147483648.0f && v < 2147483648.0f) return static_cast<std::int32_t>(v);
    return INT32_MIN;
}

/// Truncation toward zero to 64 bits; out of range or NaN gives INT64_MIN.
constexpr std::int64_t truncateToInt64(float v) {
    if (v >= -9223372036854775808.0f && v < 9223372036854775808.0f) return static_cast<std::int64_t>(v);
    return INT64_MIN;
}

/// Narrowing of a two-input kernel's result to the output type: integer results
/// keep their low bits; float to unsigned int truncates to 64 bits first, float
/// to the other integer types to 32 bits, then the low bits are kept.
template <class TOut, class TC>
constexpr TOut narrowWrap(TC v) {
    if constexpr (isFloat<TC> && !isFloat<TOut>) {
        if constexpr (std::is_same_v<TOut, unsigned int>) {
            return static_cast<TOut>(truncateToInt64(v));
        } else {
            return static_cast<TOut>(truncateToInt32(v));
        }
    } else {
        return static_cast<TOut>(v);
    }
}

/// Conversion of a one-input kernel's value to the output type: float to any
/// integer type truncates to 32 bits first, then keeps the low bits.
template <class TOut, class T>
constexpr TOut convertWrap(T v) {
    if constexpr (isFloat<T> && !isFloat<TOut>) {
        return static_cast<TOut>(truncateToInt32(v));
    } else {
        return static_cast<TOut>(v);
    }
}

template <class T>
constexpr T wrapAdd(T a, T b) {
    if constexpr (isFloat<T>) {
        return a + b;
    } else {
        return static_cast<T>(static_cast<WrapType<T>>(a) + static_cast<WrapType<T>>(b));
    }
}
template <class T>
constexpr T wrapSubtract(T a, T b) {
    if constexpr (isFloat<T>) {
        return a - b;
    } else {
        return static_cast<T>(static_cast<WrapType<T>>(a) - static_cast<WrapType<T>>(b));
    }
}
template <class T>
constexpr T wrapMultiply(T a, T b) {
    if constexpr (isFloat<T>) {
        return a * b;
    } else {
        return static_cast<T>(static_cast<WrapType<T>>(a) * static_cast<WrapType<T>>(b));
    }
}
/// Division with the zero-divisor guard (0 for a zero divisor, -0.0 included).
/// Signed integer division truncates toward zero; the most negative value
/// divided by -1 wraps to itself instead of faulting.
template <class T>
constexpr T guardedDivide(T a, T b) {
    if (b == T{0}) return T{0};
    if constexpr (isFloat<T>) {
        return a / b;
    } else if constexpr (std::is_signed_v<T>) {
        if (b == T{-1}) return wrapSubtract(T{0}, a);
        return static_cast<T>(a / b);
    } else {
        return static_cast<T>(a / b);
    }
}

/// Absolute value in the input type: (x ^ s) - s with s the sign mask, so the
/// most negative value is its own absolute value.
template <class T>
constexpr T wrapAbs(T x) {
    static_assert(std::is_signed_v<T> && !isFloat<T>);
    const WrapType<T> u = static_cast<WrapType<T>>(x);
    const WrapType<T> s = x < 0 ? ~WrapType<T>{0} : WrapType<T>{0};
    return static_cast<T>((u ^ s) - s);
}

/// Clears the sign bit of a float (NaN payloads kept).
constexpr float clearSign(float x) { return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) & 0x7fffffffu); }

// ---- selection between two inputs ----------------------------------------------------------

/// Comparison type of a selecting kernel (min, max, maxAbs): built from the two
/// inputs only, and able to hold both values and both magnitudes exactly: float
/// when either is float, otherwise int16 for two 8-bit inputs, int32 when the
/// wider is 16-bit, int64 when it is 32-bit (so that int32 meets uint32, and
/// |-2147483648|, without loss).
template <class A, class B>
struct ComparisonType {
    static constexpr int width = sizeof(A) > sizeof(B) ? sizeof(A) : sizeof(B);
    using type = std::conditional_t<
        isFloat<A> || isFloat<B>, float,
        std::conditional_t<width == 1, short, std::conditional_t<width == 2, int, std::int64_t>>>;
};
template <class A, class B>
using ComparisonTypeT = typename ComparisonType<A, B>::type;

/// a where a < b, else b; a NaN in a is kept (so a NaN in either input gives NaN).
template <class T>
constexpr T smaller(T a, T b) {
    if constexpr (isFloat<T>) {
        if (a != a) return a;
    }
    return a < b ? a : b;
}
/// a where a > b, else b; a NaN in a is kept (so a NaN in either input gives NaN).
template <class T>
constexpr T larger(T a, T b) {
    if constexpr (isFloat<T>) {
        if (a != a) return a;
    }
    return a > b ? a : b;
}
/// |x| in a comparison type, which always holds it; floats lose their sign bit.
template <class T>
constexpr T magnitude(T x) {
    if constexpr (isFloat<T>) {
        return clearSign(x);
    } else {
        return x < 0 ? static_cast<T>(-x) : x;
    }
}

/// Rounding and saturating conversion of a float result: halves away from zero
/// (the half added in single precision), then the output type's limits compared
/// in double; NaN gives 0. Float outputs take the value as it is.
template <class TOut>
constexpr TOut roundAndSaturate(float s) {
    if constexpr (isFloat<TOut>) {
        return s;
    } else {
        if (s != s) return TOut{0};
        const float y = s >= 0.0f ? s + 0.5f : s - 0.5f;
        if (static_cast<double>(y) > static_cast<double>(image::NumericLimits<TOut>::s_max))
            return image::NumericLimits<TOut>::s_max;
        if (static_cast<double>(image::NumericLimits<TOut>::s_min) > static_cast<double>(y))
            return image::NumericLimits<TOut>::s_min;
        return static_cast<TOut>(y);  // in range: truncation toward zero
    }
}

}  // namespace vimra::imaproc::arithm::kernel
