// Kernel bodies of the vector kernels, written once over an instruction set's
// layer (Reg, RegF, kRegBytes, kStep and the primitives overloaded on lane kinds).
//
// No include guard: an instruction set's kernel header includes its layer, then
// this file with VIMRA_SIMD_NS naming the layer's namespace; everything below is
// defined in that namespace, so nothing compiled with the set's flags is shared
// by name with code compiled for another set.
//
// A Block<T> holds one kernel step of T lanes (kStep elements) in sizeof(T)
// registers, in memory order. A two-input kernel loads each input as a block of
// its element type, widens it to the computation type TC, applies the operation's
// vector face, narrows to the output type and stores, kStep elements per step
// with no scalar tail: the last step may read and write past the element count,
// into the padding that the image storage provides.

#ifndef VIMRA_SIMD_NS
#error "VectorBody.h is included by an instruction set's kernel header, with VIMRA_SIMD_NS set"
#endif

#include "../Compositions.h"  // family tags and ComputationTypeT: type rules only, no code
#include "../VectorKernels.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vimra::simd::VIMRA_SIMD_NS {

template <class T>
inline constexpr bool isFloatLane = std::is_same_v<T, float>;

// The register type of T lanes (chosen by specialisation: vector types lose their
// attributes as template arguments).
template <bool IsFloat>
struct RegSelect {
    using type = Reg;
};
template <>
struct RegSelect<true> {
    using type = RegF;
};
template <class T>
using RegOf = typename RegSelect<isFloatLane<T>>::type;

// Loops over a block's registers carry `#pragma GCC unroll`: fully unrolled, a
// block lives in registers; left as loops, GCC keeps four-register blocks on the
// stack and copies them at every step.
template <class T>
struct Block {
    using Lane = T;
    static constexpr int s_regs = sizeof(T);
    static constexpr int s_lanesPerReg = kRegBytes / static_cast<int>(sizeof(T));
    RegOf<T> r[s_regs];
};

// ---- memory ------------------------------------------------------------------------------

template <class T>
inline Block<T> load(const T* p) {
    Block<T> b;
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) {
        if constexpr (isFloatLane<T>) {
            b.r[j] = loadFloat(p + j * Block<T>::s_lanesPerReg);
        } else {
            b.r[j] = loadInt(p + j * Block<T>::s_lanesPerReg);
        }
    }
    return b;
}

template <class T>
inline void store(T* p, const Block<T>& b) {
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) {
        if constexpr (isFloatLane<T>) {
            storeFloat(p + j * Block<T>::s_lanesPerReg, b.r[j]);
        } else {
            storeInt(p + j * Block<T>::s_lanesPerReg, b.r[j]);
        }
    }
}

/// store() with streaming stores; p aligned to kRegBytes.
template <class T>
inline void stream(T* p, const Block<T>& b) {
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) {
        if constexpr (isFloatLane<T>) {
            streamFloat(p + j * Block<T>::s_lanesPerReg, b.r[j]);
        } else {
            streamInt(p + j * Block<T>::s_lanesPerReg, b.r[j]);
        }
    }
}

/// The same bits read as another integer type of the same width.
template <class To, class From>
inline Block<To> reinterpret(const Block<From>& x) {
    static_assert(sizeof(To) == sizeof(From) && !isFloatLane<To> && !isFloatLane<From>);
    Block<To> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<To>::s_regs; ++j) r.r[j] = x.r[j];
    return r;
}

// ---- conversions -------------------------------------------------------------------------

/// Widening into a type at least as wide: integers by sign or zero extension of
/// From (then read as To), integers to float rounded to nearest (unsigned 32-bit
/// converted as unsigned).
template <class To, class From>
inline Block<To> widen(const Block<From>& x) {
    if constexpr (std::is_same_v<To, From>) {
        return x;
    } else if constexpr (isFloatLane<To>) {
        using Lane32 = std::conditional_t<std::is_same_v<From, unsigned int>, unsigned int, int>;
        const Block<Lane32> w = widen<Lane32>(x);
        Block<float> r;
#pragma GCC unroll 4
        for (int j = 0; j < Block<float>::s_regs; ++j) r.r[j] = toFloat(LaneTag<Lane32>{}, w.r[j]);
        return r;
    } else if constexpr (sizeof(To) == sizeof(From)) {
        return reinterpret<To>(x);
    } else if constexpr (sizeof(To) == 4 * sizeof(From)) {
        using Lane16 = std::conditional_t<std::is_signed_v<From>, short, unsigned short>;
        return widen<To>(widen<Lane16>(x));
    } else {
        static_assert(sizeof(To) == 2 * sizeof(From));
        Block<To> r;
#pragma GCC unroll 4
        for (int j = 0; j < Block<From>::s_regs; ++j) {
            r.r[2 * j] = extendLow(LaneTag<From>{}, x.r[j]);
            r.r[2 * j + 1] = extendHigh(LaneTag<From>{}, x.r[j]);
        }
        return r;
    }
}

/// Float lanes truncated toward zero to 32-bit integers (out of range or NaN:
/// -2147483648). (Templates here and below keep the calls of integer primitives
/// dependent, so that a layer without them, AVX, still compiles this file.)
template <class T>
inline Block<int> truncate(const Block<T>& x) {
    static_assert(isFloatLane<T>);
    Block<int> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<int>::s_regs; ++j) r.r[j] = truncate(LaneTag<T>{}, x.r[j]);
    return r;
}

/// Narrowing of a two-input kernel's computation-type result to the output type:
///   float to unsigned 32-bit   the set's truncateToUInt32
///   float to other integers    truncation to 32 bits, then as a 32-bit value
///   same width                 the bits, read as To
///   32 to 16 bits              signed: saturateToInt16; unsigned: the set's narrowToUInt16
///   32 to 8 bits               through 16 bits of To's signedness
///   16 to 8 bits               saturateToInt8 / saturateToUInt8
/// Wider values are read as signed throughout, as the pack instructions read them.
template <class To, class From>
inline Block<To> narrow(const Block<From>& x) {
    static_assert(sizeof(To) <= sizeof(From) && (!isFloatLane<To> || isFloatLane<From>));
    if constexpr (std::is_same_v<To, From>) {
        return x;
    } else if constexpr (isFloatLane<From>) {
        if constexpr (std::is_same_v<To, unsigned int>) {
            Block<unsigned int> r;
#pragma GCC unroll 4
            for (int j = 0; j < Block<unsigned int>::s_regs; ++j) {
                r.r[j] = truncateToUInt32(F32{}, x.r[j]);
            }
            return r;
        } else {
            return narrow<To>(truncate(x));
        }
    } else if constexpr (sizeof(To) == sizeof(From)) {
        return reinterpret<To>(x);
    } else if constexpr (sizeof(From) == 4 && sizeof(To) == 1) {
        using Lane16 = std::conditional_t<std::is_signed_v<To>, short, unsigned short>;
        return narrow<To>(narrow<Lane16>(x));
    } else {
        Block<To> r;
#pragma GCC unroll 4
        for (int j = 0; j < Block<To>::s_regs; ++j) {
            const auto lo = x.r[2 * j];
            const auto hi = x.r[2 * j + 1];
            if constexpr (sizeof(From) == 4 && std::is_signed_v<To>) {
                r.r[j] = saturateToInt16(LaneTag<From>{}, lo, hi);
            } else if constexpr (sizeof(From) == 4) {
                r.r[j] = narrowToUInt16(LaneTag<From>{}, lo, hi);
            } else if constexpr (std::is_signed_v<To>) {
                r.r[j] = saturateToInt8(LaneTag<From>{}, lo, hi);
            } else {
                r.r[j] = saturateToUInt8(LaneTag<From>{}, lo, hi);
            }
        }
        return r;
    }
}

/// Conversion of a one-input kernel's value to the output type. As narrow(),
/// with two differences: float to unsigned 32-bit is the signed 32-bit
/// truncation like every float to integer conversion, and an unsigned 16-bit
/// value is narrowed to a signed type as the 32-bit value it extends to, so that
/// 40000 saturates to 32767 (and then to 127), not to the negative side.
template <class To, class V>
inline Block<To> convert(const Block<V>& x) {
    if constexpr (isFloatLane<V> && !isFloatLane<To>) {
        return narrow<To>(truncate(x));
    } else if constexpr (isFloatLane<To> || sizeof(To) > sizeof(V)) {
        return widen<To>(x);
    } else if constexpr (std::is_same_v<V, unsigned short> && std::is_signed_v<To>) {
        return narrow<To>(widen<unsigned int>(x));
    } else {
        return narrow<To>(x);
    }
}

/// Low bits of 32-bit lanes kept in a narrower (or equal) integer type.
template <class To, class From>
inline Block<To> wrapFrom32(const Block<From>& x) {
    static_assert(sizeof(From) == 4 && !isFloatLane<From>);
    if constexpr (sizeof(To) == 4) {
        return reinterpret<To>(x);
    } else if constexpr (sizeof(To) == 2) {
        Block<To> r;
#pragma GCC unroll 4
        for (int j = 0; j < Block<To>::s_regs; ++j) {
            r.r[j] = wrapToInt16(LaneTag<From>{}, x.r[2 * j], x.r[2 * j + 1]);
        }
        return r;
    } else {
        const auto m = wrapFrom32<short>(x);  // auto: keeps the call below dependent
        Block<To> r;
        r.r[0] = wrapToInt8(LaneTag<short>{}, m.r[0], m.r[1]);
        return r;
    }
}

// ---- what the operations' vector faces use ----------------------------------------------

/// The lane kind of T for this set. It derives from LaneTag<T>, so the layer's
/// primitives accept it, and lives in this set's namespace, so that a call made
/// with it from an operation's vector face (written outside any set) finds them.
template <class T>
struct Lanes : LaneTag<T> {};

/// f(Lanes<T>{}, register) for every register of a block.
template <class T, class F>
inline Block<T> lanewise(const Block<T>& x, F f) {
    Block<T> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) r.r[j] = f(Lanes<T>{}, x.r[j]);
    return r;
}

/// f(Lanes<T>{}, register of a, register of b) for every register of two blocks.
template <class T, class F>
inline Block<T> lanewise(const Block<T>& a, const Block<T>& b, F f) {
    Block<T> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) r.r[j] = f(Lanes<T>{}, a.r[j], b.r[j]);
    return r;
}

/// The lane policy of the polar approximations (Kernel/PolarApproximations.h):
/// one register of float lanes and its 32-bit integer companion.
struct MathLanes {
    using F = RegF;
    using I = Reg;
    using M = MaskF;
    static F constant(float v) { return broadcast(F32{}, v); }
    static I integer(int v) { return broadcast(Int32{}, v); }
    static F add(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::add(F32{}, a, b); }
    static F subtract(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::subtract(F32{}, a, b); }
    static F multiply(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::multiply(F32{}, a, b); }
    static F divide(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::divide(F32{}, a, b); }
    static F squareRoot(F x) { return vimra::simd::VIMRA_SIMD_NS::squareRoot(F32{}, x); }
    static F absolute(F x) { return clearSign(F32{}, x); }
    static F negate(F x) { return vimra::simd::VIMRA_SIMD_NS::negate(F32{}, x); }
    static F xorSign(F x, F s) { return vimra::simd::VIMRA_SIMD_NS::xorSign(F32{}, x, s); }
    static M greater(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::greater(F32{}, a, b); }
    static M lessOrEqual(F a, F b) { return vimra::simd::VIMRA_SIMD_NS::lessOrEqual(F32{}, a, b); }
    static M isNumber(F x) { return vimra::simd::VIMRA_SIMD_NS::isNumber(F32{}, x); }
    static F select(M m, F yes, F no) { return vimra::simd::VIMRA_SIMD_NS::select(F32{}, m, yes, no); }
    static I truncate(F x) { return vimra::simd::VIMRA_SIMD_NS::truncate(F32{}, x); }
    static F toFloat(I x) { return vimra::simd::VIMRA_SIMD_NS::toFloat(S32{}, x); }
    static I addInt(I a, I b) { return vimra::simd::VIMRA_SIMD_NS::add(Int32{}, a, b); }
    static I subtractInt(I a, I b) { return vimra::simd::VIMRA_SIMD_NS::subtract(Int32{}, a, b); }
    static I andInt(I a, I b) { return bitAnd(Int32{}, a, b); }
    static M bitsClear(I x, I bits) { return vimra::simd::VIMRA_SIMD_NS::bitsClear(Int32{}, x, bits); }
};

/// f(MathLanes{}, register of a, register of b, first result, second result) for
/// every register of two float blocks: the two result blocks.
template <class F>
inline imaproc::arithm::kernel::Pair<Block<float>> lanewisePair(const Block<float>& a, const Block<float>& b, F f) {
    imaproc::arithm::kernel::Pair<Block<float>> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<float>::s_regs; ++j) f(MathLanes{}, a.r[j], b.r[j], r.first.r[j], r.second.r[j]);
    return r;
}

/// f(Lanes<T>{}, register of a, of b, of c) for every register of three blocks.
template <class T, class F>
inline Block<T> lanewise(const Block<T>& a, const Block<T>& b, const Block<T>& c, F f) {
    Block<T> r;
#pragma GCC unroll 4
    for (int j = 0; j < Block<T>::s_regs; ++j) r.r[j] = f(Lanes<T>{}, a.r[j], b.r[j], c.r[j]);
    return r;
}

// ---- selection between two inputs ---------------------------------------------------------

/// The lanes an input of type X is compared in against an input of type Y, for an
/// output of type C. Float when any of the three is float (the output included:
/// conversion to float is monotonic and symmetric, so selecting among the
/// converted values gives the converted selection). Otherwise 16-bit lanes for
/// two 8-bit inputs and 32-bit lanes for wider ones, signed except for uint32
/// values and unsigned values compared with them. So a uint32 meeting a signed
/// input is the one mixed case, handled by minimum() and maximum() below.
template <class X, class Y, class C>
struct ComparisonLane {
    static constexpr bool s_float = isFloatLane<X> || isFloatLane<Y> || isFloatLane<C>;
    static constexpr bool s_unsigned = std::is_same_v<X, unsigned int> ||
                                       (std::is_unsigned_v<X> && std::is_same_v<Y, unsigned int>);
    using type = std::conditional_t<s_float, float,
                                    std::conditional_t<sizeof(X) == 1 && sizeof(Y) == 1, short,
                                                       std::conditional_t<s_unsigned, unsigned int, int>>>;
};
template <class X, class Y, class C>
using ComparisonLaneT = typename ComparisonLane<X, Y, C>::type;

/// The selected value to the output type: float lanes and narrower outputs as a
/// two-input result (narrow()), wider outputs by extension of the lanes.
template <class C, class K>
inline Block<C> fromComparison(const Block<K>& x) {
    if constexpr (!isFloatLane<K> && sizeof(C) > sizeof(K)) {
        return widen<C>(x);
    } else {
        return narrow<C>(x);
    }
}

/// Lanewise a where a < b, else b (for floats: a NaN in a kept, see the layer).
template <class T>
inline Block<T> minimum(const Block<T>& a, const Block<T>& b) {
    return lanewise(a, b, [](auto lanes, auto x, auto y) { return minimum(lanes, x, y); });
}
/// Lanewise a where a > b, else b (for floats: a NaN in a kept, see the layer).
template <class T>
inline Block<T> maximum(const Block<T>& a, const Block<T>& b) {
    return lanewise(a, b, [](auto lanes, auto x, auto y) { return maximum(lanes, x, y); });
}

/// Signed lanes s clamped below at 0, read as unsigned: exact, and below 2^31.
template <class S>
inline Block<std::make_unsigned_t<S>> nonNegative(const Block<S>& s) {
    return reinterpret<std::make_unsigned_t<S>>(
        lanewise(s, [](auto lanes, auto x) { return maximum(lanes, x, broadcast(lanes, 0)); }));
}

/// A signed and an unsigned 32-bit input compared by value: the smaller is s
/// where s < 0, else the unsigned minimum; written as min(s, min(max(s, 0), u)),
/// whose inner value stays below 2^31 and so compares as signed. The result is
/// the selected value's 32 bits.
template <class X, class Y>
    requires(!std::is_same_v<X, Y>)
inline auto minimum(const Block<X>& a, const Block<Y>& b) {
    if constexpr (std::is_signed_v<X>) {
        return minimum(a, reinterpret<X>(minimum(nonNegative(a), b)));
    } else {
        return minimum(b, a);  // equal values have equal bits: the order is invisible
    }
}
/// The larger of a signed and an unsigned 32-bit input: max(max(s, 0), u), unsigned.
template <class X, class Y>
    requires(!std::is_same_v<X, Y>)
inline auto maximum(const Block<X>& a, const Block<Y>& b) {
    if constexpr (std::is_signed_v<X>) {
        return maximum(nonNegative(a), b);
    } else {
        return maximum(b, a);
    }
}

/// |x| in comparison lanes: floats lose their sign bit, 16-bit lanes (from 8-bit
/// inputs) stay signed, 32-bit lanes become unsigned so that |-2147483648| is exact.
template <class T>
inline auto magnitude(const Block<T>& x) {
    if constexpr (isFloatLane<T>) {
        return lanewise(x, [](auto lanes, auto v) { return clearSign(lanes, v); });
    } else if constexpr (std::is_unsigned_v<T>) {
        return x;
    } else if constexpr (sizeof(T) == 2) {
        return lanewise(x, [](auto lanes, auto v) { return absolute(lanes, v); });
    } else {
        return reinterpret<unsigned int>(lanewise(x, [](auto lanes, auto v) { return absolute(lanes, v); }));
    }
}

// ---- rounding with saturation --------------------------------------------------------------

/// Float lanes rounded half away from zero and saturated to To's limits, NaN
/// giving 0; float outputs unchanged. The same results as the portable
/// kernel's comparisons in double: 8- and 16-bit limits are exact floats, and a
/// float above 2147483647 is at least 2^31.
template <class To, class T>
inline Block<To> roundAndSaturate(const Block<T>& s) {
    static_assert(isFloatLane<T>);
    if constexpr (isFloatLane<To>) {
        return s;
    } else {
        const Block<T> y = lanewise(s, [](auto lanes, auto x) { return addHalfAwayFromZero(lanes, zeroNaN(lanes, x)); });
        constexpr float lo = static_cast<float>(image::NumericLimits<To>::s_min);
        if constexpr (sizeof(To) == 4) {
            Block<To> r;
#pragma GCC unroll 4
            for (int j = 0; j < Block<To>::s_regs; ++j) {
                const auto clamped = maximum(LaneTag<T>{}, y.r[j], broadcast(LaneTag<T>{}, lo));
                if constexpr (std::is_signed_v<To>) {
                    r.r[j] = truncateSaturated(LaneTag<T>{}, clamped);
                } else {
                    r.r[j] = truncateToUInt32(LaneTag<T>{}, clamped);
                }
            }
            return r;
        } else {
            constexpr float hi = static_cast<float>(image::NumericLimits<To>::s_max);
            return narrow<To>(truncate(lanewise(y, [](auto lanes, auto x) {
                return minimum(lanes, maximum(lanes, x, broadcast(lanes, lo)), broadcast(lanes, hi));
            })));
        }
    }
}

// ---- kernel loops -------------------------------------------------------------------------

namespace families = imaproc::arithm::kernel::tags;

/// Two inputs in the computation type: out = narrow<C>(op(widen<TC>(a), widen<TC>(b))).
template <class Op, class A, class B, class C>
inline void vectorStep(families::BinaryInComputationType, const Op& op, std::uint64_t i, const A* a, const B* b,
                       C* c) {
    using TC = imaproc::arithm::kernel::ComputationTypeT<A, B, C>;
    store(c + i, narrow<C>(op.applyVector(widen<TC>(load(a + i)), widen<TC>(load(b + i)))));
}

/// One input: out = convert<C>(op(a)).
template <class Op, class A, class C>
inline void vectorStep(families::UnaryConvert, const Op& op, std::uint64_t i, const A* a, C* c) {
    store(c + i, convert<C>(op.applyVector(load(a + i))));
}

/// Inputs sharing a type: out = convert<C>(op(a, b[, d])).
template <class Op, class A, class C>
inline void vectorStep(families::SharedTypeConvert, const Op& op, std::uint64_t i, const A* a, const A* b, C* c) {
    store(c + i, convert<C>(op.applyVector(load(a + i), load(b + i))));
}
template <class Op, class A, class C>
inline void vectorStep(families::SharedTypeConvert, const Op& op, std::uint64_t i, const A* a, const A* b,
                       const A* d, C* c) {
    store(c + i, convert<C>(op.applyVector(load(a + i), load(b + i), load(d + i))));
}

/// Two float inputs, two float outputs; both inputs are loaded before either store.
template <class Op>
inline void vectorStep(families::FloatPairToPair, const Op& op, std::uint64_t i, const float* a, const float* b,
                       float* c, float* d) {
    const auto r = op.applyVector(load(a + i), load(b + i));
    store(c + i, r.first);
    store(d + i, r.second);
}

/// Two inputs selected between in their comparison lanes: out = fromComparison<C>(op(a, b)).
template <class Op, class A, class B, class C>
inline void vectorStep(families::BinaryInComparisonType, const Op& op, std::uint64_t i, const A* a, const B* b,
                       C* c) {
    using KA = ComparisonLaneT<A, B, C>;
    using KB = ComparisonLaneT<B, A, C>;
    store(c + i, fromComparison<C>(op.applyVector(widen<KA>(load(a + i)), widen<KB>(load(b + i)))));
}

/// Two inputs in float; the operation converts to the output type.
template <class Op, class A, class B, class C>
inline void vectorStep(families::BinaryInFloat, const Op& op, std::uint64_t i, const A* a, const B* b, C* c) {
    store(c + i, op.template applyVector<C>(widen<float>(load(a + i)), widen<float>(load(b + i))));
}

/// Four inputs in float, two results (a pair of float blocks), each converted.
template <class Op, class A, class B, class C>
inline void vectorStep(families::ComplexPairInFloat, const Op& op, std::uint64_t i, const A* a, const A* b,
                       const B* c, const B* d, C* first, C* second) {
    const auto r = op.applyVector(widen<float>(load(a + i)), widen<float>(load(b + i)), widen<float>(load(c + i)),
                                  widen<float>(load(d + i)));
    store(first + i, convert<C>(r.first));
    store(second + i, convert<C>(r.second));
}

#include "../StripBinding.inc"

/// kStep elements per step, up to the element count rounded up to a whole step.
template <class Arith, class Op, class... Ptr>
inline void vectorLoop(const Op& op, std::uint64_t count, Ptr... strips) {
    for (std::uint64_t i = 0; i < count; i += kStep) vectorStep(typename Arith::Tag{}, op, i, strips...);
}

// ---- streaming loop -----------------------------------------------------------------------
//
// The families' steps store through store(); the streaming loop leaves them as they
// are and hands each step an aligned buffer of one step per output instead, then
// streams the buffer out (the compiler forwards the buffer's registers: it is never
// in memory). Streaming stores need aligned addresses, so the loop starts with a
// partial step up to the first aligned element and ends with a partial step over
// what is left: unlike the plain loop it reads and writes nothing past the count.

template <class Ptr>
inline constexpr bool isOutputStrip = !std::is_const_v<std::remove_pointer_t<Ptr>>;

template <class Ptr>
using StripElement = std::remove_const_t<std::remove_pointer_t<Ptr>>;

/// One step of elements of a strip, aligned for the widest register. Left
/// uninitialised (a tuple would value-initialise it): a streaming step writes
/// every element before reading it, and clearing it costs more than the step.
template <class T>
struct alignas(64) StepBuffer {
    StepBuffer() {}
    T v[kStep];
};

/// Elements to skip from the strips' start before every output is aligned to a
/// register (0 when they all are), or kStep when no count aligns them all.
template <class... Ptr>
inline std::uint64_t alignedStart(Ptr... strips) {
    for (std::uint64_t h = 0; h < kStep; ++h) {
        bool aligned = true;
        ((aligned = aligned && (!isOutputStrip<Ptr> ||
                                reinterpret_cast<std::uintptr_t>(strips + h) % kRegBytes == 0)),
         ...);
        if (aligned) return h;
    }
    return kStep;
}

/// Elements [i, i + n) (n <= kStep) through buffers: exactly n elements of each
/// input are read and n of each output written, inputs first, so that an output
/// over its input is computed from the input.
template <class Arith, class Op, class... Ptr>
inline void partialStep(const Op& op, std::uint64_t i, std::uint64_t n, Ptr... strips) {
    std::tuple<StepBuffer<StripElement<Ptr>>...> buffers;
    [&]<std::size_t... K>(std::index_sequence<K...>) {
        auto in = [&](auto strip, auto& buffer) {
            std::memset(buffer.v, 0, sizeof(buffer.v));  // lanes past n compute harmlessly on zeros
            if constexpr (!isOutputStrip<decltype(strip)>) std::memcpy(buffer.v, strip + i, n * sizeof(buffer.v[0]));
        };
        auto out = [&](auto strip, const auto& buffer) {
            if constexpr (isOutputStrip<decltype(strip)>) std::memcpy(strip + i, buffer.v, n * sizeof(buffer.v[0]));
        };
        (in(strips, std::get<K>(buffers)), ...);
        vectorStep(typename Arith::Tag{}, op, 0, static_cast<Ptr>(std::get<K>(buffers).v)...);
        (out(strips, std::get<K>(buffers)), ...);
    }(std::index_sequence_for<Ptr...>{});
}

/// A whole step at i, outputs aligned: computed into buffers, streamed out.
/// Always inlined, with the family's step: the buffers then stay in registers.
template <class Arith, class Op, class... Ptr>
[[gnu::always_inline, gnu::flatten]] inline void streamingStep(const Op& op, std::uint64_t i, Ptr... strips) {
    std::tuple<StepBuffer<StripElement<Ptr>>...> buffers;  // inputs' stay unused
    [&]<std::size_t... K>(std::index_sequence<K...>) {
        auto target = [&](auto strip, auto& buffer) {
            if constexpr (isOutputStrip<decltype(strip)>) {
                return static_cast<decltype(strip)>(buffer.v);
            } else {
                return strip + i;
            }
        };
        auto out = [&](auto strip, const auto& buffer) {
            if constexpr (isOutputStrip<decltype(strip)>) stream(strip + i, load(buffer.v));
        };
        vectorStep(typename Arith::Tag{}, op, 0, target(strips, std::get<K>(buffers))...);
        (out(strips, std::get<K>(buffers)), ...);
    }(std::index_sequence_for<Ptr...>{});
}

template <class Arith, class Op, class... Ptr>
inline void streamingLoop(const Op& op, std::uint64_t count, Ptr... strips) {
    const std::uint64_t head = alignedStart(strips...);
    if (head == kStep) {  // outputs that no start aligns together: plain stores
        vectorLoop<Arith>(op, count, strips...);
        return;
    }
    std::uint64_t i = head < count ? head : count;
    if (i > 0) partialStep<Arith>(op, 0, i, strips...);
    for (; count - i >= kStep; i += kStep) streamingStep<Arith>(op, i, strips...);
    if (i < count) partialStep<Arith>(op, i, count - i, strips...);
    storeFence();
}

template <class Arith, eInstructionSet::domain S, class... T, std::size_t... K>
processor::ProcessingResult<bool> vectorKernel(const processor::KernelArgs& args, std::index_sequence<K...>) {
    const auto op = bindStrip<Arith, S, T...>(args.params);
    if (args.streaming) {
        streamingLoop<Arith>(op, args.info.count, stripAt<T, K, Arith::s_inputs>(args)...);
    } else {
        vectorLoop<Arith>(op, args.info.count, stripAt<T, K, Arith::s_inputs>(args)...);
    }
    return imaproc::arithm::kernel::vectorKernelSuccess();
}

/// The kernel of an arithmetic for parameter types P... (see kernel::KernelTable).
template <class Arith, eInstructionSet::domain S>
struct VectorEntry {
    template <class... P>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return runStrips(args, typename Arith::Signature{}, static_cast<std::tuple<P...>*>(nullptr));
    }

private:
    template <class... Strips, class... P>
    static processor::ProcessingResult<bool> runStrips(const processor::KernelArgs& args,
                                                       imaproc::arithm::kernel::Signature<Strips...>,
                                                       std::tuple<P...>*) {
        return vectorKernel<Arith, S, imaproc::arithm::kernel::StripType<Strips, P...>...>(
            args, std::index_sequence_for<Strips...>{});
    }
};

}  // namespace vimra::simd::VIMRA_SIMD_NS
