#pragma once

// Pieces shared by the benchmark programs: the workload table, the benchmark
// names that the report script parses, and the pixel generator whose twin in
// bench/peers/python_peers.py gives the Python peers the very same input data.

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace vimra::bench {

/// Element types the workloads use (names as they appear in benchmark names).
enum class Elem { u8, i16, f32 };

inline const char* elemName(Elem e) {
    switch (e) {
        case Elem::u8:
            return "u8";
        case Elem::i16:
            return "i16";
        case Elem::f32:
            return "f32";
    }
    return "?";
}

inline std::size_t elemBytes(Elem e) {
    switch (e) {
        case Elem::u8:
            return 1;
        case Elem::i16:
            return 2;
        case Elem::f32:
            return 4;
    }
    return 0;
}

/// One measured operation: `op` on square images of `size` x `size` pixels of
/// type `type` (inputs and output alike). `isaSweep` also runs it once per
/// instruction set; `createForm` also times the form that allocates its output.
struct Workload {
    const char* op;  // "add", "subtract", "multiply", "divide", "min", "max", "blend", "lincomb"
                     // (two inputs), "abs" (one), "cmul" (four inputs, two outputs)
    Elem type;
    int size;
    bool isaSweep;
    bool createForm;
};

inline bool isUnary(const std::string& op) {
    return op == "abs";
}

/// Images one call reads and writes: "cmul" reads two complex images as four
/// planes and writes two.
inline int arrayCount(const std::string& op) {
    return isUnary(op) ? 2 : op == "cmul" ? 6 : 3;
}

/// The blend multiplier of every implementation's "blend" run.
inline constexpr float s_blendWeight = 0.3f;

// A new operation adds its rows here; every program of the harness (ours, the
// OpenCV peer and, through the listing of those, the Python peers) picks them up.
inline const std::vector<Workload>& workloads() {
    static const std::vector<Workload> table = {
        {"add", Elem::u8, 4096, true, false},       {"add", Elem::f32, 4096, true, false},
        {"subtract", Elem::u8, 4096, false, false}, {"subtract", Elem::f32, 4096, false, false},
        {"multiply", Elem::u8, 4096, false, false}, {"multiply", Elem::f32, 4096, false, false},
        {"divide", Elem::u8, 4096, false, false},   {"divide", Elem::f32, 4096, true, false},
        {"add", Elem::u8, 256, false, true},        {"add", Elem::u8, 64, false, true},
        {"abs", Elem::i16, 4096, false, false},
        {"min", Elem::u8, 4096, false, false},      {"min", Elem::f32, 4096, false, false},
        {"max", Elem::u8, 4096, false, false},      {"max", Elem::f32, 4096, false, false},
        {"lincomb", Elem::u8, 4096, false, false},  {"blend", Elem::f32, 4096, false, false},
        {"cmul", Elem::f32, 4096, false, false},
    };
    return table;
}

/// Thread counts: 1 and 2, and all hardware threads where there are more.
inline std::vector<int> threadCounts() {
    std::vector<int> counts = {1, 2};
    const int hw = static_cast<int>(std::thread::hardware_concurrency());
    if (hw > 2) counts.push_back(hw);
    return counts;
}

/// "<impl>/<op>/<type>/<W>x<H>/threads:<n>" followed by `suffix` (for example
/// "/isa:AVX2" or "/form:create"). bench/report.py parses exactly this shape.
inline std::string benchName(const std::string& impl, const Workload& w, int threads,
                             const std::string& suffix = "") {
    const std::string size = std::to_string(w.size);
    return impl + "/" + w.op + "/" + elemName(w.type) + "/" + size + "x" + size +
           "/threads:" + std::to_string(threads) + suffix;
}

/// Bytes one call reads and writes (inputs once, output once).
inline double bytesPerCall(const Workload& w) {
    const double pixels = static_cast<double>(w.size) * w.size;
    const int arrays = arrayCount(w.op);
    return pixels * static_cast<double>(elemBytes(w.type)) * arrays;
}

/// Well-mixed 32-bit value for pixel `i` of stream `seed` (a murmur-style
/// finaliser over a multiplicative hash). All arithmetic is modulo 2^32, so the
/// NumPy twin in bench/peers/python_peers.py produces identical values.
inline std::uint32_t mix(std::uint32_t i, std::uint32_t seed) {
    std::uint32_t x = i * 2654435761u + seed * 0x9E3779B9u;
    x ^= x >> 15;
    x *= 0x2C1B3C6Du;
    x ^= x >> 12;
    return x;
}

/// Input pixels. Seed 1 feeds the first input, seed 2 the second; the second
/// input is never zero, so every division in every peer takes the same path.
inline void fillU8(std::uint8_t* p, std::uint64_t n, std::uint32_t seed) {
    for (std::uint64_t i = 0; i < n; ++i) {
        std::uint32_t v = mix(static_cast<std::uint32_t>(i), seed) >> 24;
        if (seed == 2) v |= 1u;
        p[i] = static_cast<std::uint8_t>(v);
    }
}

inline void fillF32(float* p, std::uint64_t n, std::uint32_t seed) {
    for (std::uint64_t i = 0; i < n; ++i) {
        // In [1, 257): exact in float, never zero.
        p[i] = static_cast<float>(mix(static_cast<std::uint32_t>(i), seed) >> 8) * 0x1p-16f + 1.0f;
    }
}

inline void fillI16(std::int16_t* p, std::uint64_t n, std::uint32_t seed) {
    for (std::uint64_t i = 0; i < n; ++i) {
        const auto bits =
            static_cast<std::uint16_t>(mix(static_cast<std::uint32_t>(i), seed) >> 16);
        // Two's-complement reinterpretation, the full range including -32768.
        p[i] = static_cast<std::int16_t>(bits >= 0x8000u ? static_cast<int>(bits) - 0x10000
                                                         : static_cast<int>(bits));
    }
}

/// Name suffix of a run capped at one instruction set ("best" when uncapped).
inline std::string isaTag(const char* isa) {
    return std::string("/isa:") + isa;
}

}  // namespace vimra::bench
