// Every vector kernel of every operation, type combination and instruction set
// this processor offers, on random data with extreme values and strip lengths
// that are not multiples of the step: each output pixel against the scalar model
// of the set's rules, and bit for bit against the standard kernel wherever the
// result lies in the output's range.

#include "KernelTestSupport.h"
#include "TestData.h"

#include <vimra/image/BufferType.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <tuple>

namespace vimra::arithm_test {
namespace {

using namespace ref;

constexpr std::size_t s_counts[] = {0, 1, 15, 16, 17, 31, 33, 63, 64, 65, 127, 1000};
constexpr int kAbsOp = eAbs;
constexpr const char* s_opNames[] = {"Add", "Subtract", "Multiply", "Divide", "Abs"};

/// Operand pairs worth seeing in every run where both inputs can hold them.
struct Pair {
    double a, b;
};
constexpr Pair s_edgePairs[] = {
    {-2147483648.0, -1},
    {-32768, -1},
    {-128, -1},
    {7, 2},
    {-7, 2},
    {-1, 2},
    {5, 0},
    {0, 0},
    {255, 255},
    {200, 100},
    {10, 20},
    {65535, 1},
    {2.9, 0},
    {-0.5, 1},
    {16777217, 1},
    {-16777216, 3},
};

bool holds(int t, double v) {
    if (info(t).isFloat) return true;
    return v == std::trunc(v) && v >= static_cast<double>(info(t).min) &&
           v <= static_cast<double>(info(t).max);
}
Value valueOf(int t, double v) {
    return info(t).isFloat ? floatValue(static_cast<float>(v))
                           : intValue(static_cast<std::int64_t>(v));
}

// ---- checking --------------------------------------------------------------------------------

std::string pixel(const char* isa, int op, int ta, const Value& a, int tb, const Value* b, int tc,
                  std::size_t count, std::size_t i) {
    std::ostringstream s;
    s << isa << " " << s_opNames[op] << " " << info(ta).name << " " << toString(ta, a);
    if (b) s << ", " << info(tb).name << " " << toString(tb, *b);
    s << " -> " << info(tc).name << " (pixel " << i << " of " << count << ")";
    return s.str();
}

void checkPixel(Mismatches& m, int tc, const BinaryExpectation& e, const Value& vec,
                const Value& standard, bool exactNaN, const std::string& where) {
    if (!sameOutput(tc, vec, e.vector, exactNaN))
        m.add(where + ": vector kernel gave " + toString(tc, vec) + ", the set's rules give " +
              toString(tc, e.vector));
    if (!sameOutput(tc, standard, e.standard, exactNaN))
        m.add(where + ": standard kernel gave " + toString(tc, standard) + ", the rules give " +
              toString(tc, e.standard));
    if (e.mustAgree && !sameOutput(tc, vec, standard, exactNaN))
        m.add(where + ": in range, yet vector " + toString(tc, vec) + " differs from standard " +
              toString(tc, standard));
}

using Param = std::tuple<int, KernelSource>;

class VectorKernels : public ::testing::TestWithParam<Param> {};

TEST_P(VectorKernels, MatchTheRulesAndTheStandardKernels) {
    const int op = std::get<0>(GetParam());
    const KernelSource& k = std::get<1>(GetParam());
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    const eIsa isa = isaOf(k.set);
    const int inputs = op == kAbsOp ? 1 : 2;
    const int combinations = op == kAbsOp ? s_pairs : s_triples;
    Mismatches m;
    int kernelsRun = 0;
    for (int combo = 0; combo < combinations && !m.full(); ++combo) {
        const int ta = inputs == 1 ? combo / 7 : combo / 49;
        const int tb = inputs == 1 ? ta : (combo / 7) % 7;
        const int tc = combo % 7;
        const AlgorithmFunction vec = findKernel(k, op, ta, tb, tc);
        const AlgorithmFunction portable = findStandardKernel(op, ta, tb, tc);
        if (vec == nullptr && k.set == eInstructionSet::eAVX) continue;  // float kernels only
        if (vec == nullptr || portable == nullptr) {
            m.add(std::string(k.name) + " " + s_opNames[op] + " " + info(ta).name + ", " +
                  info(tb).name + " -> " + info(tc).name + ": no kernel");
            continue;
        }
        ++kernelsRun;
        const int computation = computationType(ta, tb, tc);
        const bool tcUnsigned = !info(computation).isFloat && !info(computation).isSigned;
        const bool divide32 =
            op == eDivide && info(computation).bytes == 4 && !info(computation).isFloat;
        Generator gen(static_cast<std::uint64_t>(op) * 1000003u +
                      static_cast<std::uint64_t>(k.set) * 7919u +
                      static_cast<std::uint64_t>(combo));
        for (std::size_t count : s_counts) {
            StripBuffer a(ta, count), b(tb, count), outVec(tc, count), outStd(tc, count);
            for (std::size_t i = 0; i < paddedCount(count); ++i) {
                const bool limited = divide32 && gen.coin();
                a.set(i, gen.value(ta, limited, tcUnsigned));
                b.set(i, op == eDivide ? gen.divisor(tb, limited, tcUnsigned)
                                       : gen.value(tb, limited, tcUnsigned));
            }
            if (count >= 100) {
                std::size_t at = 40;
                for (const Pair& p : s_edgePairs) {
                    if (!holds(ta, p.a) || !holds(tb, p.b)) continue;
                    a.set(at, valueOf(ta, p.a));
                    b.set(at, valueOf(tb, p.b));
                    at += 3;
                }
            }
            const auto rv =
                inputs == 1 ? runUnary(vec, a, outVec, count) : runBinary(vec, a, b, outVec, count);
            const auto rs = inputs == 1 ? runUnary(portable, a, outStd, count)
                                        : runBinary(portable, a, b, outStd, count);
            if (!rv.isSuccess() || !rs.isSuccess()) m.add("a kernel reported failure");
            if (!outVec.guardIntact()) {
                m.add(std::string(k.name) + " " + s_opNames[op] + " " + info(ta).name + ", " +
                      info(tb).name + " -> " + info(tc).name + ", " + std::to_string(count) +
                      " pixels: the vector kernel wrote past the strip's padding");
            }
            for (std::size_t i = 0; i < count && !m.full(); ++i) {
                const Value va = a.get(i), vb = b.get(i);
                const BinaryExpectation e =
                    inputs == 1 ? expectAbs(ta, va, tc, isa)
                                : expectBinary(static_cast<eOp>(op), ta, va, tb, vb, tc, isa);
                const bool exactNaN = inputs == 1;  // abs keeps the NaN payload
                const Value got = outVec.get(i), standard = outStd.get(i);
                if (sameOutput(tc, got, e.vector, exactNaN) &&
                    sameOutput(tc, standard, e.standard, exactNaN) &&
                    (!e.mustAgree || sameOutput(tc, got, standard, exactNaN)))
                    continue;
                checkPixel(
                    m, tc, e, got, standard, exactNaN,
                    pixel(k.name, op, ta, va, tb, inputs == 1 ? nullptr : &vb, tc, count, i));
            }
        }
    }
    EXPECT_GT(kernelsRun, 0);
}

std::string paramName(const ::testing::TestParamInfo<Param>& p) {
    return std::string(s_opNames[std::get<0>(p.param)]) + "_" + sourceName(std::get<1>(p.param));
}

INSTANTIATE_TEST_SUITE_P(Isa, VectorKernels,
                         ::testing::Combine(::testing::Range(0, kAbsOp + 1),
                                            ::testing::ValuesIn(kernelSources())),
                         paramName);

// ---- registration of the further buffer types -------------------------------------------------

/// The buffer types 8 to 11 (binary and label images) are served by the kernels
/// of their unsigned elements: every key of the eleven types finds, in every set
/// the processor offers, the kernel registered for its plain element types.
TEST(RegisteredKernels, EveryBufferTypeCombinationFindsItsElementKernel) {
    for (const eInstructionSet::domain set :
         {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX,
          eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
        if (!core::isSupportedByProcessor(set)) {
            std::printf(
                "[   NOTE   ] %s is not offered by this processor: its registrations are not "
                "checked\n",
                core::instructionSetName(set));
            continue;
        }
        for (int op = 0; op <= kAbsOp; ++op) {
            const int keys = op == kAbsOp ? 121 : 1331;
            int found = 0;
            for (int key = 0; key < keys; ++key) {
                const int t1 = (op == kAbsOp ? key / 11 : key / 121) + 1, t2 = (key / 11) % 11 + 1,
                          t3 = key % 11 + 1;
                const auto element = [](int t) {
                    return image::elementIndex(static_cast<image::eImageBufferType::domain>(t));
                };
                const AlgorithmFunction f = selectRegistered(op, set, t1, t2, t3);
                const AlgorithmFunction plain =
                    selectRegistered(op, set, element(t1) + 1, element(t2) + 1, element(t3) + 1);
                EXPECT_EQ(f, plain) << s_opNames[op] << " " << core::instructionSetName(set)
                                    << " key " << t1 << ", " << t2 << ", " << t3;
                found += f != nullptr;
            }
            const bool floatOnly = set == eInstructionSet::eAVX;
            EXPECT_EQ(found, floatOnly ? 1 : keys)
                << s_opNames[op] << " " << core::instructionSetName(set);
        }
    }
}

}  // namespace
}  // namespace vimra::arithm_test
