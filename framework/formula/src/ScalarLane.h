#pragma once

// One float per lane: the portable evaluator, and the tail of every vector loop.
// `Set` is the instruction set of the file that uses it, so that each file's copy
// (compiled with that set's flags) has a name of its own. Bits move with the
// builtin, not std::bit_cast: unoptimised builds keep that as a function shared
// by name with every other file.

#include <vimra/core/InstructionSet.h>

#include <cstdint>

namespace vimra::formula::detail {

template <eInstructionSet::domain Set>
struct ScalarLane {
    static constexpr int W = 1;
    struct VF {
        float v;
        friend VF operator+(VF a, VF b) { return {a.v + b.v}; }
        friend VF operator-(VF a, VF b) { return {a.v - b.v}; }
        friend VF operator*(VF a, VF b) { return {a.v * b.v}; }
        friend VF operator/(VF a, VF b) { return {a.v / b.v}; }
    };
    struct VM {
        bool v;
    };
    struct VI {
        std::int32_t v;
    };

    static VF load(const float* p) { return {*p}; }
    static void store(float* p, VF a) { *p = a.v; }
    static VF set1(float v) { return {v}; }
    static VI iset1(std::int32_t v) { return {v}; }
    static VF sqrt(VF a) { return {__builtin_sqrtf(a.v)}; }

    static std::uint32_t u(VF a) { return __builtin_bit_cast(std::uint32_t, a.v); }
    static VF f(std::uint32_t b) { return {__builtin_bit_cast(float, b)}; }
    static VF band(VF a, VF b) { return f(u(a) & u(b)); }
    static VF bor(VF a, VF b) { return f(u(a) | u(b)); }
    static VF bxor(VF a, VF b) { return f(u(a) ^ u(b)); }

    static VM lt(VF a, VF b) { return {a.v < b.v}; }
    static VM le(VF a, VF b) { return {a.v <= b.v}; }
    static VM gt(VF a, VF b) { return {a.v > b.v}; }
    static VM ge(VF a, VF b) { return {a.v >= b.v}; }
    static VM eq(VF a, VF b) { return {a.v == b.v}; }
    static VM ne(VF a, VF b) { return {!(a.v == b.v)}; }
    static VM unord(VF a, VF b) { return {a.v != a.v || b.v != b.v}; }
    static VM mand(VM a, VM b) { return {a.v && b.v}; }
    static VM mor(VM a, VM b) { return {a.v || b.v}; }
    static VM mnot(VM a) { return {!a.v}; }
    static VF select(VM m, VF a, VF b) { return m.v ? a : b; }
    static bool any(VM m) { return m.v; }
    static VF toFloat(VM m) { return {m.v ? 1.0f : 0.0f}; }

    /// Truncation; callers pass only values inside the int32 range.
    static VI cvtt(VF a) { return {static_cast<std::int32_t>(a.v)}; }
    static VF cvt(VI a) { return {static_cast<float>(a.v)}; }
    static VI asInt(VF a) { return {__builtin_bit_cast(std::int32_t, a.v)}; }
    static VF asFloat(VI a) { return {__builtin_bit_cast(float, a.v)}; }
    static VI iadd(VI a, VI b) {
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v) +
                                          static_cast<std::uint32_t>(b.v))};
    }
    static VI isub(VI a, VI b) {
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v) -
                                          static_cast<std::uint32_t>(b.v))};
    }
    static VI iand(VI a, VI b) { return {a.v & b.v}; }
    static VI bor(VI a, VI b) { return {a.v | b.v}; }
    template <int K>
    static VI sll(VI a) {
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v) << K)};
    }
    template <int K>
    static VI srl(VI a) {
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v) >> K)};
    }
};

}  // namespace vimra::formula::detail
