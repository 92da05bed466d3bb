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
