#pragma once

// The instruction loops, written once over a vector lane L and the scalar lane S
// of the same instruction set (S finishes what is left after the last full
// vector). Each instruction set's file instantiates this with its own lanes and
// nothing else; FloatMath.h holds the arithmetic.

#include "FloatMath.h"
#include "Kernels.h"

#include <array>
#include <cstdint>
#include <type_traits>

namespace vimra::formula::detail {

template <class L, class S>
struct EvalBody {
    template <class V>
    using Lane = std::conditional_t<std::is_same_v<V, typename L::VF>, L, S>;

    template <class F>
    static void loop(float* d, int n, F f, const float* a) {
        int i = 0;
        if constexpr (L::W > 1)
            for (; i + L::W <= n; i += L::W) L::store(d + i, f(L::load(a + i)));
        for (; i < n; ++i) S::store(d + i, f(S::load(a + i)));
    }
    template <class F>
    static void loop(float* d, int n, F f, const float* a, const float* b) {
        int i = 0;
        if constexpr (L::W > 1)
            for (; i + L::W <= n; i += L::W) L::store(d + i, f(L::load(a + i), L::load(b + i)));
        for (; i < n; ++i) S::store(d + i, f(S::load(a + i), S::load(b + i)));
    }
    template <class F>
    static void loop(float* d, int n, F f, const float* a, const float* b, const float* c) {
        int i = 0;
        if constexpr (L::W > 1)
            for (; i + L::W <= n; i += L::W)
                L::store(d + i, f(L::load(a + i), L::load(b + i), L::load(c + i)));
        for (; i < n; ++i) S::store(d + i, f(S::load(a + i), S::load(b + i), S::load(c + i)));
    }

// One case of a switch: `EXPR` sees the lane `LL`, its math `M` and the operands.
#define VIMRA_FORMULA_CASE(OP, EXPR, ...)                                  \
    case Op::OP:                                                           \
        return loop(                                                       \
            d, n,                                                          \
            [](auto x, auto... rest) {                                     \
                using LL = Lane<decltype(x)>;                              \
                using M [[maybe_unused]] = FloatMath<LL>;                  \
                [[maybe_unused]] const auto args = std::array{x, rest...}; \
                return EXPR;                                               \
            },                                                             \
            __VA_ARGS__)

    static void unary(Op op, float* d, const float* a, int n) {
        switch (op) {
            VIMRA_FORMULA_CASE(Neg, LL::bxor(x, LL::set1(-0.0f)), a);
            VIMRA_FORMULA_CASE(Not, LL::bxor(x, LL::set1(1.0f)), a);
            VIMRA_FORMULA_CASE(Abs, M::abs(x), a);
            VIMRA_FORMULA_CASE(Sign, M::sign(x), a);
            VIMRA_FORMULA_CASE(Sqrt, LL::sqrt(x), a);
            VIMRA_FORMULA_CASE(Cbrt, M::cbrt(x), a);
            VIMRA_FORMULA_CASE(Exp, M::exp(x), a);
            VIMRA_FORMULA_CASE(Exp2, M::exp2(x), a);
            VIMRA_FORMULA_CASE(Log, M::log(x), a);
            VIMRA_FORMULA_CASE(Log2, M::log2(x), a);
            VIMRA_FORMULA_CASE(Log10, M::log10(x), a);
            VIMRA_FORMULA_CASE(Sin, M::sin(x), a);
            VIMRA_FORMULA_CASE(Cos, M::cos(x), a);
            VIMRA_FORMULA_CASE(Tan, M::tan(x), a);
            VIMRA_FORMULA_CASE(Asin, M::asin(x), a);
            VIMRA_FORMULA_CASE(Acos, M::acos(x), a);
            VIMRA_FORMULA_CASE(Atan, M::atan(x), a);
            VIMRA_FORMULA_CASE(Sinh, M::sinh(x), a);
            VIMRA_FORMULA_CASE(Cosh, M::cosh(x), a);
            VIMRA_FORMULA_CASE(Tanh, M::tanh(x), a);
            VIMRA_FORMULA_CASE(Floor, M::floor(x), a);
            VIMRA_FORMULA_CASE(Ceil, M::ceil(x), a);
            VIMRA_FORMULA_CASE(Round, M::round(x), a);
            VIMRA_FORMULA_CASE(Trunc, M::trunc(x), a);
            VIMRA_FORMULA_CASE(Frac, M::frac(x), a);
            VIMRA_FORMULA_CASE(IsNan, LL::toFloat(M::isNan(x)), a);
            VIMRA_FORMULA_CASE(IsInf, LL::toFloat(LL::eq(M::abs(x), LL::set1(__builtin_inff()))),
                               a);
            VIMRA_FORMULA_CASE(IsFinite, LL::toFloat(LL::lt(M::abs(x), LL::set1(__builtin_inff()))),
                               a);
            VIMRA_FORMULA_CASE(ToBool, LL::toFloat(LL::ne(x, LL::set1(0.0f))), a);
            default:
                return;
        }
    }

    static void binary(Op op, float* d, const float* a, const float* b, int n) {
        switch (op) {
            VIMRA_FORMULA_CASE(Add, x + args[1], a, b);
            VIMRA_FORMULA_CASE(Sub, x - args[1], a, b);
            VIMRA_FORMULA_CASE(Mul, x * args[1], a, b);
            VIMRA_FORMULA_CASE(Div, x / args[1], a, b);
            VIMRA_FORMULA_CASE(Lt, LL::toFloat(LL::lt(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(Le, LL::toFloat(LL::le(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(Gt, LL::toFloat(LL::gt(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(Ge, LL::toFloat(LL::ge(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(Eq, LL::toFloat(LL::eq(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(Ne, LL::toFloat(LL::ne(x, args[1])), a, b);
            VIMRA_FORMULA_CASE(And, LL::band(x, args[1]), a, b);
            VIMRA_FORMULA_CASE(Or, LL::bor(x, args[1]), a, b);
            VIMRA_FORMULA_CASE(Atan2, M::atan2(x, args[1]), a, b);
            VIMRA_FORMULA_CASE(Hypot, M::hypot(x, args[1]), a, b);
            VIMRA_FORMULA_CASE(Min, M::min(x, args[1]), a, b);
            VIMRA_FORMULA_CASE(Max, M::max(x, args[1]), a, b);
            default:
                return scalarBinary(op, d, a, b, n);
        }
    }

    static void ternary(Op op, float* d, const float* a, const float* b, const float* c, int n) {
        switch (op) {
            VIMRA_FORMULA_CASE(Select, LL::select(LL::ne(x, LL::set1(0.0f)), args[1], args[2]), a,
                               b, c);
            VIMRA_FORMULA_CASE(Clamp, M::min(M::max(x, args[1]), args[2]), a, b, c);
            VIMRA_FORMULA_CASE(Lerp, x + args[2] * (args[1] - x), a, b, c);
            VIMRA_FORMULA_CASE(
                InRange, LL::toFloat(LL::mand(LL::ge(x, args[1]), LL::le(x, args[2]))), a, b, c);
            default:
                return;
        }
    }
#undef VIMRA_FORMULA_CASE

    template <class T>
    static void convertFrom(const void* src, float* d, int n) {
        const T* s = static_cast<const T*>(src);
        for (int i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]);
    }
    static void convert(eElement type, const void* src, float* d, int n) {
        switch (type) {
            case eElement::S8:
                return convertFrom<std::int8_t>(src, d, n);
            case eElement::U8:
                return convertFrom<std::uint8_t>(src, d, n);
            case eElement::S16:
                return convertFrom<std::int16_t>(src, d, n);
            case eElement::U16:
                return convertFrom<std::uint16_t>(src, d, n);
            case eElement::S32:
                return convertFrom<std::int32_t>(src, d, n);
            case eElement::U32:
                return convertFrom<std::uint32_t>(src, d, n);
            case eElement::F32:
                return convertFrom<float>(src, d, n);
            case eElement::Binary: {
                const std::uint8_t* s = static_cast<const std::uint8_t*>(src);
                for (int i = 0; i < n; ++i) d[i] = s[i] != 0 ? 1.0f : 0.0f;
                return;
            }
        }
    }

    static void storeFloat(float* out, const float* r, int n) {
        loop(
            out, n, [](auto x) { return FloatMath<Lane<decltype(x)>>::canonical(x); }, r);
    }
    static void storeBool(std::uint8_t* out, const float* r, int n) {
        for (int i = 0; i < n; ++i) out[i] = r[i] != 0.0f ? 1 : 0;  // NaN too
    }

    static KernelTable table() {
        return {&unary, &binary, &ternary, &convert, &storeFloat, &storeBool};
    }
};

}  // namespace vimra::formula::detail
