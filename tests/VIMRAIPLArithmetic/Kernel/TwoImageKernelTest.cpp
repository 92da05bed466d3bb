// The kernels of min, max, maxAbs, blend, linear combination and complex
// multiplication: every type triple on every instruction set this processor
// offers (and the emulated AVX-512 build), on random data with extreme values and
// strip lengths that are not multiples of the step. Each output pixel is checked
// against the independent model of TwoImageReference.h, the standard kernel
// against the wrap-around rules and the vector kernel against its set's
// saturation rules, and the two against each other wherever the result is in range.

#include "KernelTestSupport.h"
#include "TestData.h"
#include "TwoImageReference.h"

#include <vimra/image/BufferType.h>

#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace vimra::arithm_test {
namespace {

using namespace ref;

enum class eFamilyOp { eMin, eMax, eMaxAbs, eBlend, eLinearCombine, eComplexMultiply };

struct OperationUnderTest {
    eFamilyOp op;
    const char* name;
    /// Parameter sets the kernels are run with (blend: multiplier; linear combination: f1, f2).
    std::vector<std::vector<float>> params;
};

const std::vector<OperationUnderTest>& operations() {
    static const std::vector<OperationUnderTest> ops = {
        {eFamilyOp::eMin, "MinImgImg", {{}}},
        {eFamilyOp::eMax, "MaxImgImg", {{}}},
        {eFamilyOp::eMaxAbs, "MaxAbsImgImg", {{}}},
        {eFamilyOp::eBlend, "BlendImgImg", {{0.5f}, {0.0f}, {1.0f}, {0.3f}, {-2.5f}, {7e4f}}},
        {eFamilyOp::eLinearCombine,
         "LinearCombineImgImg",
         {{0.5f, 0.5f}, {1.0f, 1.0f}, {-1.0f, 0.0f}, {1.7f, -0.3f}, {3e5f, -3e5f}, {1e-3f, 2.5f}}},
        {eFamilyOp::eComplexMultiply, "ComplexMultiplyImgImg", {{}}},
    };
    return ops;
}

bool isComplex(eFamilyOp op) {
    return op == eFamilyOp::eComplexMultiply;
}

/// A selector key: buffer types (1..11) of the strips; the complex product's
/// operands and outputs come in pairs of one type.
processor::DataTypeIdentifierColl keyOf(const OperationUnderTest& o, int a, int b, int out) {
    processor::DataTypeIdentifierColl key;
    const std::vector<int> types =
        isComplex(o.op) ? std::vector<int>{a, a, b, b, out, out} : std::vector<int>{a, b, out};
    for (int t : types) key.append(static_cast<image::eImageBufferType::domain>(t));
    return key;
}

/// The kernel of an operation for element types (a, b, out), from a source's
/// registrations (null source: the library's standard kernels).
AlgorithmFunction kernelOf(const KernelSource* source, const OperationUnderTest& o, int a, int b, int out) {
    const processor::DataTypeIdentifierColl key = keyOf(o, a + 1, b + 1, out + 1);
    processor::InstructionSetsIdentifier forced;
    if (source != nullptr && source->emulated()) {
        forced.init(eInstructionSet::eStandard);
        return emulatedSelector(o.name).select(key, forced);
    }
    forced.init(source ? source->set : eInstructionSet::eStandard);
    const std::string name = std::string("vimra::imaproc::arithm::") + o.name + "Lvl3";
    processor::AlgorithmFunctionSelector* selector = processor::findFunctionSelector(name);
    if (selector == nullptr) {
        ADD_FAILURE() << "no function selector is registered for " << name;
        return nullptr;
    }
    return selector->select(key, forced);
}

constexpr std::size_t s_counts[] = {1, 15, 16, 17, 33, 63, 64, 65, 130};

/// Operand values worth seeing in every run where both inputs can hold them.
constexpr double s_edgePairs[][2] = {
    {-1, 5},    {5, -1},     {-128, 3},   {-7, 3},    {-300, 200}, {255, 0},          {200, 200},
    {-32768, 1}, {65535, -1}, {-2147483648.0, 7}, {4294967295.0, -1}, {2147483647.0, -2147483648.0},
    {16777217, 16777216},    {2.5, -2.5}, {0.49999997, 0.5}, {-0.0, 0.0},        {0.0, -0.0},
};

bool holds(int t, double v) {
    if (info(t).isFloat) return true;
    return v == std::trunc(v) && v >= static_cast<double>(info(t).min) && v <= static_cast<double>(info(t).max);
}
Value valueOf(int t, double v) {
    return info(t).isFloat ? floatValue(static_cast<float>(v)) : intValue(static_cast<std::int64_t>(v));
}

std::string describe(const char* isa, const OperationUnderTest& o, const std::vector<float>& params, int ta,
                     int tb, int tc, std::size_t count, std::size_t i) {
    std::ostringstream s;
    s << isa << " " << o.name;
    for (float p : params) s << " " << p;
    s << " " << info(ta).name << ", " << info(tb).name << " -> " << info(tc).name << " (pixel " << i << " of "
      << count << ")";
    return s.str();
}

/// Compares one output pixel of both kernels with the model. Selected values keep
/// their bits, NaN included (`exactNaN`); a NaN computed by arithmetic may come out
/// with either sign, depending on the order of the operands in the instructions.
void check(Mismatches& m, int tc, const BinaryExpectation& e, const Value& vec, const Value& standard,
           bool exactNaN, const std::string& where) {
    if (!sameOutput(tc, vec, e.vector, exactNaN))
        m.add(where + ": vector kernel gave " + toString(tc, vec) + ", the set's rules give " + toString(tc, e.vector));
    if (!sameOutput(tc, standard, e.standard, exactNaN))
        m.add(where + ": standard kernel gave " + toString(tc, standard) + ", the rules give " +
              toString(tc, e.standard));
    if (e.mustAgree && !sameOutput(tc, vec, standard, exactNaN))
        m.add(where + ": in range, yet vector " + toString(tc, vec) + " differs from standard " +
              toString(tc, standard));
}

processor::ProcessingResult<bool> run(AlgorithmFunction f, const std::vector<const StripBuffer*>& in,
                                      const std::vector<StripBuffer*>& out, const std::vector<float>& params,
                                      std::size_t count) {
    processor::KernelArgs args;
    args.info.count = count;
    for (std::size_t k = 0; k < in.size(); ++k) args.in[k] = in[k]->data();
    for (std::size_t k = 0; k < out.size(); ++k) args.out[k] = out[k]->data();
    processor::KernelParams p;
    for (float v : params) p.push(v);
    args.params = &p;
    return f(args);
}

using Param = std::tuple<int, KernelSource>;
class TwoImageKernels : public ::testing::TestWithParam<Param> {};

TEST_P(TwoImageKernels, MatchTheRulesAndTheStandardKernels) {
    const OperationUnderTest& o = operations()[static_cast<std::size_t>(std::get<0>(GetParam()))];
    const KernelSource& k = std::get<1>(GetParam());
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    const eIsa isa = isaOf(k.set);
    const bool complex = isComplex(o.op);
    Mismatches m;
    int kernelsRun = 0;
    for (int combo = 0; combo < s_triples && !m.full(); ++combo) {
        const int ta = combo / 49, tb = (combo / 7) % 7, tc = combo % 7;
        const AlgorithmFunction vec = kernelOf(&k, o, ta, tb, tc);
        const AlgorithmFunction standard = kernelOf(nullptr, o, ta, tb, tc);
        if (vec == nullptr && k.set == eInstructionSet::eAVX && !(ta == eFloat && tb == eFloat && tc == eFloat))
            continue;  // AVX: the float triple only
        if (vec == nullptr || standard == nullptr) {
            m.add(std::string(k.name) + " " + o.name + " " + info(ta).name + ", " + info(tb).name + " -> " +
                  info(tc).name + ": no kernel");
            continue;
        }
        ++kernelsRun;
        // Only the AVX-512 kernel of the all-float product fuses.
        const bool fused = complex && k.set == eInstructionSet::eAVX512 && ta == eFloat && tb == eFloat &&
                           tc == eFloat;
        Generator gen(static_cast<std::uint64_t>(o.op) * 1000003u + static_cast<std::uint64_t>(k.set) * 7919u +
                      static_cast<std::uint64_t>(combo));
        for (const std::vector<float>& params : o.params) {
            for (std::size_t count : s_counts) {
                const int inputs = complex ? 4 : 2;
                std::vector<StripBuffer> in;
                for (int j = 0; j < inputs; ++j) in.emplace_back(complex ? (j < 2 ? ta : tb) : (j == 0 ? ta : tb), count);
                std::vector<StripBuffer> outVec, outStd;
                for (int j = 0; j < (complex ? 2 : 1); ++j) {
                    outVec.emplace_back(tc, count);
                    outStd.emplace_back(tc, count);
                }
                for (std::size_t i = 0; i < paddedCount(count); ++i)
                    for (int j = 0; j < inputs; ++j)
                        in[static_cast<std::size_t>(j)].set(i, gen.value(complex ? (j < 2 ? ta : tb) : (j == 0 ? ta : tb), false, false));
                if (count >= 100) {
                    std::size_t at = 20;
                    for (const auto& p : s_edgePairs) {
                        if (!holds(ta, p[0]) || !holds(tb, p[1])) continue;
                        in[0].set(at, valueOf(ta, p[0]));
                        in[complex ? 2 : 1].set(at, valueOf(tb, p[1]));
                        ++at;
                    }
                }
                std::vector<const StripBuffer*> inPtrs;
                for (const StripBuffer& b : in) inPtrs.push_back(&b);
                std::vector<StripBuffer*> vecPtrs, stdPtrs;
                for (StripBuffer& b : outVec) vecPtrs.push_back(&b);
                for (StripBuffer& b : outStd) stdPtrs.push_back(&b);
                if (!run(vec, inPtrs, vecPtrs, params, count).isSuccess() ||
                    !run(standard, inPtrs, stdPtrs, params, count).isSuccess())
                    m.add("a kernel reported failure");
                for (const StripBuffer& b : outVec)
                    if (!b.guardIntact())
                        m.add(std::string(k.name) + " " + o.name + ": the vector kernel wrote past the strip's padding");

                for (std::size_t i = 0; i < count && !m.full(); ++i) {
                    const std::string where = describe(k.name, o, params, ta, tb, tc, count, i);
                    if (complex) {
                        const ComplexValue exact = complexProduct(asFloat(ta, in[0].get(i)), asFloat(ta, in[1].get(i)),
                                                                  asFloat(tb, in[2].get(i)), asFloat(tb, in[3].get(i)), false);
                        const ComplexValue onVector =
                            fused ? complexProduct(asFloat(ta, in[0].get(i)), asFloat(ta, in[1].get(i)),
                                                   asFloat(tb, in[2].get(i)), asFloat(tb, in[3].get(i)), true)
                                  : exact;
                        const float parts[2][2] = {{exact.real, onVector.real}, {exact.imag, onVector.imag}};
                        for (int part = 0; part < 2; ++part) {
                            BinaryExpectation e = expectConversion(eFloat, floatValue(parts[part][0]), tc, isa);
                            if (fused) {
                                // Fused: the vector result is the fused model's, and may differ in the last bit.
                                e.vector = expectConversion(eFloat, floatValue(parts[part][1]), tc, isa).vector;
                                e.mustAgree = false;
                            }
                            check(m, tc, e, outVec[static_cast<std::size_t>(part)].get(i),
                                  outStd[static_cast<std::size_t>(part)].get(i), false,
                                  where + (part == 0 ? " real" : " imaginary"));
                        }
                        continue;
                    }
                    const Value a = in[0].get(i), b = in[1].get(i);
                    BinaryExpectation e;
                    switch (o.op) {
                        case eFamilyOp::eMin:
                            e = expectSelect(eSelect::eMin, ta, a, tb, b, tc, isa);
                            break;
                        case eFamilyOp::eMax:
                            e = expectSelect(eSelect::eMax, ta, a, tb, b, tc, isa);
                            break;
                        case eFamilyOp::eMaxAbs:
                            e = expectSelect(eSelect::eMaxAbs, ta, a, tb, b, tc, isa);
                            break;
                        case eFamilyOp::eBlend:
                            e = expectBlend(params[0], ta, a, tb, b, tc, isa);
                            break;
                        default: {
                            // Rounded and saturated alike on every path.
                            e.standard = e.vector = linearCombination(params[0], params[1], ta, a, tb, b, tc);
                            e.mustAgree = true;
                        }
                    }
                    const bool selects = o.op == eFamilyOp::eMin || o.op == eFamilyOp::eMax || o.op == eFamilyOp::eMaxAbs;
                    check(m, tc, e, outVec[0].get(i), outStd[0].get(i), selects,
                          where + " of " + toString(ta, a) + ", " + toString(tb, b));
                }
            }
        }
    }
    EXPECT_GT(kernelsRun, 0);
}

std::string paramName(const ::testing::TestParamInfo<Param>& p) {
    return std::string(operations()[static_cast<std::size_t>(std::get<0>(p.param))].name) + "_" +
           sourceName(std::get<1>(p.param));
}

INSTANTIATE_TEST_SUITE_P(Isa, TwoImageKernels,
                         ::testing::Combine(::testing::Range(0, static_cast<int>(eFamilyOp::eComplexMultiply) + 1),
                                            ::testing::ValuesIn(kernelSources())),
                         paramName);

/// Every key of the eleven buffer types finds, on every set the processor offers,
/// the kernel of its plain element types; AVX only the float one.
TEST(TwoImageRegistrations, EveryBufferTypeKeyFindsItsElementKernel) {
    for (const eInstructionSet::domain set : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX,
                                              eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
        if (!core::isSupportedByProcessor(set)) continue;
        processor::InstructionSetsIdentifier forced;
        forced.init(set);
        for (const OperationUnderTest& o : operations()) {
            auto* selector = processor::findFunctionSelector(std::string("vimra::imaproc::arithm::") + o.name + "Lvl3");
            ASSERT_NE(selector, nullptr) << o.name;
            int found = 0;
            for (int key = 0; key < 1331; ++key) {
                const int t[3] = {key / 121 + 1, (key / 11) % 11 + 1, key % 11 + 1};
                const auto element = [](int b) {
                    return static_cast<int>(image::elementIndex(static_cast<image::eImageBufferType::domain>(b))) + 1;
                };
                const AlgorithmFunction f = selector->select(keyOf(o, t[0], t[1], t[2]), forced);
                EXPECT_EQ(f, selector->select(keyOf(o, element(t[0]), element(t[1]), element(t[2])), forced))
                    << o.name << " " << core::instructionSetName(set) << " key " << t[0] << ", " << t[1] << ", " << t[2];
                found += f != nullptr;
            }
            EXPECT_EQ(found, set == eInstructionSet::eAVX ? 1 : 1331) << o.name << " " << core::instructionSetName(set);
        }
    }
}

}  // namespace
}  // namespace vimra::arithm_test
