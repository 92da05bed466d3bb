// The narrowing functions of each instruction set's layer against the documented
// table, and the documented example pixels through the kernels themselves.

#include "KernelTestSupport.h"

#include <cmath>
#include <limits>
#include <string>

namespace vimra::arithm_test {
namespace {

using namespace ref;

// Which sets a row holds for.
enum : unsigned {
    kSse2 = 1u << 0,
    kAvx2 = 1u << 1,
    kAvx512 = 1u << 2,
    kWide = kAvx2 | kAvx512,
    kAll = kSse2 | kWide,
};

unsigned bitOf(eInstructionSet::domain set) {
    switch (set) {
        case eInstructionSet::eSSE2:
            return kSse2;
        case eInstructionSet::eAVX2:
            return kAvx2;
        case eInstructionSet::eAVX512:
            return kAvx512;
        default:
            return 0;
    }
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct NarrowingRow {
    unsigned sets;
    int from, to;
    double in, expected;
};

Value valueOf(int type, double v) {
    return info(type).isFloat ? floatValue(static_cast<float>(v))
                              : intValue(static_cast<std::int64_t>(v));
}

std::string describe(const NarrowingRow& r, const char* set) {
    return std::string(set) + ": " + info(r.from).name + " " +
           toString(r.from, valueOf(r.from, r.in)) + " -> " + info(r.to).name;
}

/// Runs one probe over 64 lanes holding the row's input; every lane must give
/// the expected value.
void checkProbe(ConversionProbe probe, const NarrowingRow& r, const char* set) {
    ASSERT_NE(probe, nullptr) << describe(r, set) << ": no such conversion";
    StripBuffer in(r.from, s_padding), out(r.to, s_padding);
    for (std::size_t i = 0; i < s_padding; ++i) in.set(i, valueOf(r.from, r.in));
    probe(in.data(), out.data(), s_padding);
    const Value expected = valueOf(r.to, r.expected);
    for (std::size_t i = 0; i < s_padding; ++i) {
        ASSERT_TRUE(sameOutput(r.to, out.get(i), expected, true))
            << describe(r, set) << ": lane " << i << " gave " << toString(r.to, out.get(i))
            << ", expected " << toString(r.to, expected);
    }
}

// Two-input kernels: the computation type's result to the output type.
const NarrowingRow s_binaryNarrowing[] = {
    // 16-bit to 8-bit: clamp, the 16-bit value read as signed.
    {kAll, eInt16, eInt8, 200, 127},
    {kAll, eInt16, eInt8, -200, -128},
    {kAll, eInt16, eInt8, -100, -100},
    {kAll, eUInt16, eInt8, 40000, -128},
    {kAll, eInt16, eUInt8, 300, 255},
    {kAll, eInt16, eUInt8, -1, 0},
    {kAll, eInt16, eUInt8, 77, 77},
    {kAll, eUInt16, eUInt8, 256, 255},
    {kAll, eUInt16, eUInt8, 32768, 0},
    {kAll, eUInt16, eUInt8, 65535, 0},
    // Same width: the bits.
    {kAll, eUInt16, eInt16, 40000, -25536},
    {kAll, eInt32, eUInt32, -1, 4294967295.0},
    {kAll, eUInt32, eInt32, 4294967295.0, -1},
    {kAll, eUInt8, eInt8, 200, -56},
    // 32-bit to signed 16-bit: clamp, read as signed.
    {kAll, eInt32, eInt16, 70000, 32767},
    {kAll, eInt32, eInt16, -70000, -32768},
    {kAll, eInt32, eInt16, -5, -5},
    {kAll, eUInt32, eInt16, 3000000000.0, -32768},
    {kAll, eUInt32, eInt16, 40000, 32767},
    // 32-bit to unsigned 16-bit: SSE2 keeps the low 16 bits, the wider sets clamp.
    {kSse2, eInt32, eUInt16, 70000, 4464},
    {kSse2, eInt32, eUInt16, -1, 65535},
    {kSse2, eUInt32, eUInt16, 4294967295.0, 65535},
    {kWide, eInt32, eUInt16, 70000, 65535},
    {kWide, eInt32, eUInt16, -1, 0},
    {kWide, eUInt32, eUInt16, 4294967295.0, 0},
    {kAll, eInt32, eUInt16, 65535, 65535},
    // 32-bit to signed 8-bit: clamp to 16 bits, then to 8.
    {kAll, eInt32, eInt8, 70000, 127},
    {kAll, eInt32, eInt8, -1000, -128},
    {kAll, eInt32, eInt8, -100, -100},
    // 32-bit to unsigned 8-bit: SSE2 reads the low 16 bits as signed, the wider
    // sets clamp to [0, 65535] and read that as signed.
    {kSse2, eInt32, eUInt8, 70000, 255},  // 4464
    {kSse2, eInt32, eUInt8, 40000, 0},    // -25536
    {kSse2, eInt32, eUInt8, 65636, 100},  // 100
    {kWide, eInt32, eUInt8, 70000, 0},    // 65535, read as -1
    {kWide, eInt32, eUInt8, 40000, 0},
    {kWide, eInt32, eUInt8, 65636, 0},
    {kWide, eInt32, eUInt8, 300, 255},
    {kAll, eInt32, eUInt8, -1, 0},
    {kAll, eInt32, eUInt8, 200, 200},
    {kAll, eUInt32, eUInt8, 4294967295.0, 0},
    // Float: truncation toward zero to 32 bits (out of range or NaN: -2^31).
    {kAll, eFloat, eInt32, 2.9, 2},
    {kAll, eFloat, eInt32, -2.9, -2},
    {kAll, eFloat, eInt32, 1e10, -2147483648.0},
    {kAll, eFloat, eInt32, kNaN, -2147483648.0},
    {kAll, eFloat, eInt32, 2147483520.0, 2147483520.0},
    {kAll, eFloat, eInt16, 40000.0, 32767},
    {kAll, eFloat, eInt16, -1e10, -32768},
    {kAll, eFloat, eInt16, kNaN, -32768},
    {kAll, eFloat, eInt8, 1000.0, 127},
    {kAll, eFloat, eInt8, 2.9, 2},
    {kSse2, eFloat, eUInt16, 70000.0, 4464},
    {kSse2, eFloat, eUInt16, -1.0, 65535},
    {kWide, eFloat, eUInt16, 70000.0, 65535},
    {kWide, eFloat, eUInt16, -1.0, 0},
    {kSse2, eFloat, eUInt8, 70000.0, 255},
    {kAll, eFloat, eUInt8, 40000.0, 0},
    {kWide, eFloat, eUInt8, 70000.0, 0},
    {kAll, eFloat, eUInt8, 255.9, 255},
    {kAll, eFloat, eUInt8, -3.5, 0},
    // Float to unsigned 32-bit: AVX-512 uses the processor's unsigned truncation.
    {kAll, eFloat, eUInt32, 3e9, 3000000000.0},
    {kAll, eFloat, eUInt32, 4294967040.0, 4294967040.0},
    {kAll, eFloat, eUInt32, 2147483648.0, 2147483648.0},
    {kAll, eFloat, eUInt32, -0.5, 0},
    {kAll, eFloat, eUInt32, 5e9, 4294967295.0},
    {kSse2 | kAvx2, eFloat, eUInt32, -5.0, 0},
    {kSse2 | kAvx2, eFloat, eUInt32, kNaN, 0},
    {kAvx512, eFloat, eUInt32, -5.0, 4294967295.0},
    {kAvx512, eFloat, eUInt32, -1.0, 4294967295.0},
    {kAvx512, eFloat, eUInt32, kNaN, 4294967295.0},
};

// One-input kernels: the value (after the operation) to the output type.
const NarrowingRow s_unaryConversion[] = {
    // An unsigned 16-bit value saturates to signed types as a 32-bit value.
    {kAll, eUInt16, eInt16, 40000, 32767},
    {kAll, eUInt16, eInt16, 32767, 32767},
    {kAll, eUInt16, eInt8, 40000, 127},
    {kAll, eUInt16, eInt8, 100, 100},
    {kAll, eUInt16, eUInt8, 40000, 0},
    {kAll, eUInt16, eUInt8, 300, 255},
    {kAll, eInt16, eUInt16, -32768, 32768},
    {kAll, eInt16, eInt8, -32768, -128},
    {kAll, eInt16, eInt32, -32768, -32768},
    {kAll, eInt32, eInt16, 70000, 32767},
    {kAll, eInt32, eInt16, -2147483648.0, -32768},
    {kAll, eUInt32, eInt16, 3000000000.0, -32768},
    {kSse2, eInt32, eUInt16, 70000, 4464},
    {kWide, eInt32, eUInt16, 70000, 65535},
    {kAll, eUInt8, eInt8, 200, -56},
    {kAll, eUInt32, eFloat, 4294967295.0, 4294967296.0},
    {kAll, eInt32, eFloat, 16777217, 16777216},
    // Float to any integer: truncation to 32 bits, unsigned 32-bit included.
    {kAll, eFloat, eUInt32, 3e9, 2147483648.0},
    {kAll, eFloat, eUInt32, 7.9, 7},
    {kAll, eFloat, eUInt8, 40000.0, 0},
    {kSse2, eFloat, eUInt8, 70000.0, 255},
    {kWide, eFloat, eUInt8, 70000.0, 0},
    {kAll, eFloat, eInt16, kNaN, -32768},
};

class LayerNarrowing : public ::testing::TestWithParam<KernelSource> {};

TEST_P(LayerNarrowing, TwoInputNarrowingFollowsTheTable) {
    const KernelSource& k = GetParam();
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    for (const NarrowingRow& r : s_binaryNarrowing) {
        if (r.sets & bitOf(k.set)) checkProbe(k.probes->narrow[r.from * 7 + r.to], r, k.name);
    }
}

TEST_P(LayerNarrowing, OneInputConversionFollowsTheTable) {
    const KernelSource& k = GetParam();
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    for (const NarrowingRow& r : s_unaryConversion) {
        if (r.sets & bitOf(k.set)) checkProbe(k.probes->convert[r.from * 7 + r.to], r, k.name);
    }
}

// ---- documented pixels through the kernels ----------------------------------------------------

constexpr int kAbs = eAbs;

struct KernelCase {
    int op;  // eOperation
    int a, b, c;
    double va, vb;
    double standard, sse2, wide;  // expected outputs
};

const KernelCase s_cases[] = {
    {eAdd, eUInt8, eUInt8, eUInt8, 200, 100, 44, 44, 44},
    {eSubtract, eInt16, eUInt8, eUInt8, 10, 20, 246, 0, 0},
    {eDivide, eFloat, eFloat, eFloat, 5, 0.0, 0, 0, 0},
    {eDivide, eFloat, eFloat, eFloat, 5, -0.0, 0, 0, 0},
    {eDivide, eUInt8, eUInt8, eUInt8, 9, 0, 0, 0, 0},
    {eDivide, eInt32, eInt32, eInt32, 9, 0, 0, 0, 0},
    {eDivide, eInt32, eInt32, eFloat, 7, 2, 3.5, 3.5, 3.5},
    {eDivide, eInt8, eInt8, eUInt8, -1, 2, 127, 127, 127},
    {eDivide, eInt8, eInt8, eInt8, -1, 2, 0, 0, 0},
    {eDivide, eInt8, eUInt8, eInt16, -1, 2, 0, 0, 0},
    // TC uint32: 4294967295 / 2. The vector kernels divide in float, where the
    // dividend (beyond 2^24) rounds to 2^32 first.
    {eDivide, eInt8, eInt8, eUInt32, -1, 2, 2147483647, 2147483648.0, 2147483648.0},
    {eDivide, eInt32, eInt32, eInt32, -2147483648.0, -1, -2147483648.0, -2147483648.0,
     -2147483648.0},
    {eDivide, eInt16, eInt16, eInt16, -32768, -1, -32768, -32768, -32768},
    {eAdd, eInt32, eInt32, eFloat, 16777217, 0, 16777216, 16777216, 16777216},
    {eAdd, eFloat, eFloat, eUInt8, 2.9, 0, 2, 2, 2},
    {eAdd, eFloat, eFloat, eUInt8, 40000, 0, 64, 0, 0},
    {eAdd, eFloat, eFloat, eUInt8, 70000, 0, 112, 255, 0},
    {eMultiply, eInt32, eInt32, eInt32, 65537, 65537, 131073, 131073, 131073},
    {eMultiply, eUInt8, eUInt8, eUInt8, 16, 16, 0, 0, 0},
    {kAbs, eInt16, 0, eInt16, -32768, 0, -32768, -32768, -32768},
    {kAbs, eInt8, 0, eUInt8, -128, 0, 128, 128, 128},
    // |-128| is 128 in 16 bits: the standard conversion keeps the low bits, the
    // vector kernels saturate it like any 16-bit value going to 8 bits.
    {kAbs, eInt8, 0, eInt8, -128, 0, -128, 127, 127},
    {kAbs, eFloat, 0, eFloat, -0.0, 0, 0.0, 0.0, 0.0},
    {kAbs, eInt32, 0, eInt16, -70000, 0, 4464, 32767, 32767},
    {kAbs, eInt32, 0, eInt16, -2147483648.0, 0, 0, -32768, -32768},
};

std::string describe(const KernelCase& c, const char* set) {
    static const char* const names[] = {"add", "subtract", "multiply", "divide", "abs"};
    std::string s = std::string(set) + " " + names[c.op] + " " + info(c.a).name + " " +
                    toString(c.a, valueOf(c.a, c.va));
    if (c.op != kAbs)
        s += std::string(", ") + info(c.b).name + " " + toString(c.b, valueOf(c.b, c.vb));
    return s + " -> " + info(c.c).name;
}

/// Runs a case over 64 pixels and checks every one.
void checkCase(AlgorithmFunction f, const KernelCase& c, double expected, const char* set) {
    StripBuffer a(c.a, s_padding), b(c.op == kAbs ? c.a : c.b, s_padding), out(c.c, s_padding);
    for (std::size_t i = 0; i < s_padding; ++i) {
        a.set(i, valueOf(c.a, c.va));
        if (c.op != kAbs) b.set(i, valueOf(c.b, c.vb));
    }
    const auto result =
        c.op == kAbs ? runUnary(f, a, out, s_padding) : runBinary(f, a, b, out, s_padding);
    ASSERT_TRUE(result.isSuccess());
    const Value e = valueOf(c.c, expected);
    for (std::size_t i = 0; i < s_padding; ++i) {
        ASSERT_TRUE(sameOutput(c.c, out.get(i), e, true))
            << describe(c, set) << ": pixel " << i << " gave " << toString(c.c, out.get(i))
            << ", expected " << toString(c.c, e);
    }
}

TEST(DocumentedPixels, StandardKernels) {
    for (const KernelCase& c : s_cases)
        checkCase(findStandardKernel(c.op, c.a, c.b, c.c), c, c.standard, "standard");
}

class DocumentedPixels : public ::testing::TestWithParam<KernelSource> {};

TEST_P(DocumentedPixels, VectorKernels) {
    const KernelSource& k = GetParam();
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    int run = 0;
    for (const KernelCase& c : s_cases) {
        const AlgorithmFunction f = findKernel(k, c.op, c.a, c.b, c.c);
        if (f == nullptr && k.set == eInstructionSet::eAVX) continue;  // float kernels only
        ASSERT_NE(f, nullptr) << describe(c, k.name) << ": no kernel";
        checkCase(f, c, k.set == eInstructionSet::eSSE2 ? c.sse2 : c.wide, k.name);
        ++run;
    }
    EXPECT_GT(run, 0);
}

std::string sourceTestName(const ::testing::TestParamInfo<KernelSource>& p) {
    return sourceName(p.param);
}

std::vector<KernelSource> sourcesWithProbes() {
    std::vector<KernelSource> v;
    for (const KernelSource& k : kernelSources())
        if (k.probes) v.push_back(k);
    return v;
}

INSTANTIATE_TEST_SUITE_P(Isa, LayerNarrowing, ::testing::ValuesIn(sourcesWithProbes()),
                         sourceTestName);
INSTANTIATE_TEST_SUITE_P(Isa, DocumentedPixels, ::testing::ValuesIn(kernelSources()),
                         sourceTestName);

}  // namespace
}  // namespace vimra::arithm_test
