// Every instruction set against the portable evaluator, bit for bit, on random
// well-typed formulas and random data; the same pixels whatever the block size,
// the tiling and the threads; the typed evaluator over every input type; and the
// accuracy of the transcendental functions against double precision.

#include "FormulaTestSupport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <thread>

using namespace vimra;
using namespace vimra::formula;
using namespace vimra::formula::test;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// Random formulas of a given type, drawing from every construct of the language.
class FormulaGenerator {
  public:
    explicit FormulaGenerator(unsigned seed) : m_rng(seed) {}

    std::string number(int depth) {
        if (depth <= 0 || pick(10) < 3) return numberLeaf();
        static const char* unary[] = {"abs",   "sign", "sqrt",  "cbrt",  "exp",  "exp2",
                                      "log",   "log2", "log10", "sin",   "cos",  "tan",
                                      "asin",  "acos", "atan",  "sinh",  "cosh", "tanh",
                                      "floor", "ceil", "round", "trunc", "frac"};
        static const char* ops[] = {"+", "-", "*", "/", "%", "^"};
        static const char* binary[] = {"pow", "atan2", "hypot", "fmod", "min", "max"};
        const int d = depth - 1;
        switch (pick(14)) {
            case 0:
            case 1:
                return std::string(unary[pick(23)]) + "(" + number(d) + ")";
            case 2:
            case 3:
            case 4:
                return "(" + number(d) + " " + ops[pick(6)] + " " + number(d) + ")";
            case 5:
                return std::string(binary[pick(6)]) + "(" + number(d) + ", " + number(d) + ")";
            case 6: {
                static const char* generic[] = {"min", "max", "sum", "mean"};
                std::string s = std::string(generic[pick(4)]) + "(" + number(d);
                for (int k = 0, n = 1 + pick(3); k < n; ++k) s += ", " + number(d);
                return s + ")";
            }
            case 7:
                return std::string(pick(2) ? "clamp(" : "lerp(") + number(d) + ", " + number(d) +
                       ", " + number(d) + ")";
            case 8:
                return "piecewise(" + number(d) + ", -1,2, 0.5,-3, 4,7.25)";
            case 9:
                return "map(" + number(d) + ", {0: 1.5, 2..5: -2, 7: nan, -3: 100}" +
                       (pick(2) ? ", " + number(d) : "") + ")";
            case 10:
                return "if(" + boolean(d) + ", " + number(d) + ", " + number(d) + ")";
            case 11:
                return "(" + boolean(d) + " ? " + number(d) + " : " + number(d) + ")";
            case 12:
                return "-" + number(d);
            default:
                return "count(" + boolean(d) + ", " + boolean(d) + ") * " + number(d);
        }
    }

    std::string boolean(int depth) {
        if (depth <= 0 || pick(10) < 3) return boolLeaf();
        static const char* cmp[] = {"<", "<=", ">", ">=", "==", "!="};
        const int d = depth - 1;
        switch (pick(9)) {
            case 0:
            case 1:
                return "(" + number(d) + " " + cmp[pick(6)] + " " + number(d) + ")";
            case 2:
                return "(" + boolean(d) + (pick(2) ? " && " : " || ") + boolean(d) + ")";
            case 3:
                return "!" + boolean(d);
            case 4: {
                static const char* f[] = {"isnan", "isinf", "isfinite", "bool"};
                return std::string(f[pick(4)]) + "(" + number(d) + ")";
            }
            case 5:
                return "inrange(" + number(d) + ", " + number(d) + ", " + number(d) + ")";
            case 6:
                return std::string(pick(2) ? "any(" : "all(") + boolean(d) + ", " + boolean(d) +
                       ")";
            case 7:
                return "if(" + boolean(d) + ", " + boolean(d) + ", " + boolean(d) + ")";
            default:
                return boolLeaf();
        }
    }

  private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_rng); }
    std::string offset() {
        if (pick(3)) return "";
        return "[" + std::to_string(pick(7) - 3) + "," + std::to_string(pick(5) - 2) + "]";
    }
    std::string numberLeaf() {
        static const char* constants[] = {"0",  "1", "2.5", "0.5", "1e-3", "100", "1e30", "3e-39",
                                          "pi", "e", "nan", "inf", "7",    "0.1", "255",  "-0.0"};
        switch (pick(6)) {
            case 0:
                return constants[pick(16)];
            case 1:
            case 2:
                return "I" + std::to_string(1 + pick(3)) + offset();
            case 3:
                return "L" + std::to_string(1 + pick(3)) + offset();
            case 4: {
                static const char* c[] = {"x", "y", "width", "height"};
                return c[pick(4)];
            }
            default:
                return "B" + std::to_string(1 + pick(3)) + offset() + " * " + constants[pick(16)];
        }
    }
    std::string boolLeaf() {
        switch (pick(3)) {
            case 0:
                return pick(2) ? "true" : "false";
            default:
                return "B" + std::to_string(1 + pick(3)) + offset();
        }
    }
    std::mt19937 m_rng;
};

/// Random images reaching the edge cases: NaN, infinities, signed zeros,
/// subnormals, huge and tiny values, integers and random bit patterns.
Inputs randomInputs(std::mt19937& rng, std::int64_t sx, std::int64_t sy) {
    Inputs in;
    in.SizeX = sx;
    in.SizeY = sy;
    const float special[] = {0.0f, -0.0f, kInf, -kInf, kNan,  1e-40f, -3e38f,
                             0.5f, -0.5f, 2.5f, 1.0f,  -1.0f, 88.5f};
    const std::size_t n = static_cast<std::size_t>(sx * sy);
    for (auto& g : in.Grey)
        for (std::size_t i = 0; i < n; ++i) {
            const unsigned k = rng() % 8;
            float v;
            if (k == 0)
                v = special[rng() % 13];
            else if (k == 1)
                v = std::bit_cast<float>(static_cast<std::uint32_t>(rng()));
            else if (k < 4)
                v = static_cast<float>(static_cast<int>(rng() % 21) - 10);
            else
                v = std::uniform_real_distribution<float>(-300.0f, 300.0f)(rng);
            g.push_back(v);
        }
    for (auto& b : in.Binary)
        for (std::size_t i = 0; i < n; ++i)
            b.push_back(static_cast<std::uint8_t>(rng() % 3 == 0 ? 0 : rng() % 256));
    for (auto& l : in.Label)
        for (std::size_t i = 0; i < n; ++i) l.push_back(static_cast<std::uint32_t>(rng() % 13));
    return in;
}

const eInstructionSet::domain kVectorSets[] = {eInstructionSet::eSSE2, eInstructionSet::eAVX2,
                                               eInstructionSet::eAVX512};

bool sameArrays(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

TEST(FormulaIsa, EveryInstructionSetGivesThePortableBitsOnRandomFormulas) {
    std::mt19937 rng(20261123);
    FormulaGenerator gen(7);
    int compared = 0;
    for (int f = 0; f < 400; ++f) {
        const std::string formula = f % 3 == 0 ? gen.boolean(4) : gen.number(5);
        const FormulaCompileResult r = compileFormula(formula);
        ASSERT_TRUE(r.ok()) << formula << "\n" << formatDiagnostics(r.Diagnostics);
        const Inputs in = randomInputs(rng, 37, 4);  // 37: full vectors and a tail
        const auto reference =
            evaluate(r.Manager, in, eInstructionSet::eStandard, image::BorderPolicy::mirror());
        for (const auto set : kVectorSets) {
            if (!core::isAvailable(set)) continue;
            const auto out = evaluate(r.Manager, in, set, image::BorderPolicy::mirror());
            ASSERT_TRUE(sameArrays(out, reference))
                << core::instructionSetName(set) << " differs on " << formula;
            ++compared;
        }
    }
    EXPECT_GT(compared, 400);
    if (!core::isAvailable(eInstructionSet::eAVX512))
        std::printf("SKIPPED: AVX-512 comparisons (this processor has no AVX-512)\n");
}

TEST(FormulaIsa, PixelsDoNotDependOnBlocksTilesOrThreads) {
    std::mt19937 rng(99);
    FormulaGenerator gen(3);
    for (int f = 0; f < 60; ++f) {
        const std::string formula = gen.number(4) + " + x * 0.001 - y";
        const auto m = compileOrFail(formula);
        ASSERT_TRUE(m);
        const Inputs in = randomInputs(rng, 45, 6);
        const auto border = image::BorderPolicy::periodic();
        const auto whole = evaluate(m, in, eInstructionSet::eStandard, border);
        for (const auto set : {eInstructionSet::eStandard, eInstructionSet::eSSE2,
                               eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
            if (!core::isAvailable(set)) continue;
            for (int block : {1, 5, 16, 300}) {
                const auto out = evaluate(m, in, set, border, block);
                ASSERT_TRUE(sameArrays(out, whole)) << formula << " block " << block;
            }
            // Four tiles on four threads, each with its own origin.
            std::vector<float> tiled(whole.size(), -1.0f);
            const std::int64_t cutX = 17 + f % 9, cutY = 1 + f % 4;
            std::vector<std::thread> threads;
            for (int t = 0; t < 4; ++t)
                threads.emplace_back([&, t] {
                    FormulaOutputTile tile;
                    tile.Origin = {t % 2 ? cutX : 0, t / 2 ? cutY : 0, 0};
                    tile.Size = {t % 2 ? in.SizeX - cutX : cutX, t / 2 ? in.SizeY - cutY : cutY, 1};
                    tile.RowStride = in.SizeX;
                    tile.PlaneStride = in.SizeX * in.SizeY;
                    float* out = tiled.data() + tile.Origin[1] * in.SizeX + tile.Origin[0];
                    evaluateFormulaTile(m, set, in.views(), border, {in.SizeX, in.SizeY, 1}, tile,
                                        out, nullptr, 7);
                });
            for (auto& t : threads) t.join();
            ASSERT_TRUE(sameArrays(tiled, whole))
                << formula << " tiled on " << core::instructionSetName(set);
        }
    }
}

template <class T>
std::vector<T> typedImage(std::mt19937& rng, std::size_t n) {
    std::vector<T> v(n);
    for (auto& e : v) {
        if constexpr (std::is_same_v<T, float>)
            e = std::uniform_real_distribution<float>(-1e6f, 1e6f)(rng);
        else
            e = static_cast<T>(rng());  // every bit pattern of the type
    }
    return v;
}

/// The typed evaluator with hand-bound blocks: rows inside, a gather at the edge.
template <class InputT, class LabelT, eInstructionSet::domain Isa>
void checkTypedEvaluator(std::mt19937& rng) {
    constexpr std::int64_t sx = 29, sy = 3;
    const auto grey = typedImage<InputT>(rng, sx * sy);
    const auto label = typedImage<LabelT>(rng, sx * sy);
    const auto m = compileOrFail("I1 * 0.5 + I1[1,0] - L1 + (L1 > 1000 ? 1 : 0)");
    ASSERT_TRUE(m);
    // Reference: the same pixels as float images through the tile helper.
    Inputs in;
    in.SizeX = sx;
    in.SizeY = sy;
    in.Grey[0].assign(grey.begin(), grey.end());
    for (LabelT l : label) in.Label[0].push_back(l);
    std::vector<float> asFloat(label.begin(), label.end());
    auto views = in.views();
    views[6] = {asFloat.data(), eFormulaElementType::eFloat, sx, sy, 1, sx, sx * sy};
    FormulaOutputTile tile;
    tile.Size = {sx, sy, 1};
    tile.RowStride = sx;
    std::vector<float> expected(static_cast<std::size_t>(sx * sy));
    ASSERT_TRUE(evaluateFormulaTile(m, eInstructionSet::eStandard, views,
                                    image::BorderPolicy::constant(0), {sx, sy, 1}, tile,
                                    expected.data(), nullptr));

    ImageFormulaEvaluator<InputT, LabelT, Isa> evaluator(m, {sx, sy, 1});
    struct Edge {
        const InputT* Grey;
        std::int64_t Width;
    } edge{grey.data(), sx};
    auto gather = [](const void* c, unsigned, std::int64_t x, std::int64_t y, std::int64_t, int n,
                     float* out) {
        const auto& e = *static_cast<const Edge*>(c);
        for (int i = 0; i < n; ++i)
            out[i] = x + i < e.Width ? static_cast<float>(e.Grey[y * e.Width + x + i]) : 0.0f;
    };
    std::vector<float> out(static_cast<std::size_t>(sx * sy));
    for (std::int64_t y = 0; y < sy; ++y) {
        // Reads in program order: find which is which.
        std::vector<FormulaReadSource> sources;
        for (const auto& r : m->getReads()) {
            if (r.ImageId == 6)
                sources.push_back({label.data() + y * sx, nullptr, nullptr});
            else if (r.Dx == 0)
                sources.push_back({grey.data() + y * sx, nullptr, nullptr});
            else
                sources.push_back({nullptr, +gather, &edge});
        }
        FormulaBlock block;
        block.Position = {0, y, 0};
        block.Count = static_cast<int>(sx);
        block.Reads = sources.data();
        const FormulaEvalStatus s = evaluator.evaluate(block, out.data() + y * sx);
        ASSERT_TRUE(s.Success) << s.Message;
    }
    ASSERT_TRUE(sameArrays(out, expected)) << typeid(InputT).name() << "/" << typeid(LabelT).name()
                                           << " on " << core::instructionSetName(Isa);
}

template <eInstructionSet::domain Isa>
void checkAllTypes(std::mt19937& rng) {
    if (!core::isAvailable(Isa)) {
        std::printf("SKIPPED: typed evaluator on %s (not available here)\n",
                    core::instructionSetName(Isa));
        return;
    }
    checkTypedEvaluator<signed char, unsigned short, Isa>(rng);
    checkTypedEvaluator<unsigned char, unsigned int, Isa>(rng);
    checkTypedEvaluator<short, unsigned short, Isa>(rng);
    checkTypedEvaluator<unsigned short, unsigned int, Isa>(rng);
    checkTypedEvaluator<int, unsigned short, Isa>(rng);
    checkTypedEvaluator<unsigned int, unsigned int, Isa>(rng);
    checkTypedEvaluator<float, unsigned short, Isa>(rng);
}

TEST(FormulaIsa, TypedEvaluatorConvertsEveryInputType) {
    std::mt19937 rng(5);
    checkAllTypes<eInstructionSet::eStandard>(rng);
    checkAllTypes<eInstructionSet::eSSE2>(rng);
    checkAllTypes<eInstructionSet::eAVX2>(rng);
    checkAllTypes<eInstructionSet::eAVX512>(rng);
}

TEST(FormulaIsa, EvaluatorRefusesWhatItCannotRun) {
    const auto m = compileOrFail("I1 + I2[1,0]");
    ASSERT_TRUE(m);
    FormulaProgram p(m, eFormulaElementType::eFloat, eFormulaElementType::eUInt16,
                     eInstructionSet::eAVX, {4, 1, 1});
    float out[4];
    FormulaBlock block;
    block.Count = 4;
    const FormulaEvalStatus noAvx = p.evaluate(block, out);
    EXPECT_FALSE(noAvx.Success);
    EXPECT_NE(noAvx.Message.find("AVX"), std::string::npos) << noAvx.Message;
    FormulaProgram q(m, eFormulaElementType::eFloat, eFormulaElementType::eUInt16,
                     eInstructionSet::eStandard, {4, 1, 1});
    EXPECT_NE(q.evaluate(block, out).Message.find("no sources"), std::string::npos);
    const float row[5] = {1, 2, 3, 4, 5};
    const FormulaReadSource sources[2] = {{row, nullptr, nullptr}, {nullptr, nullptr, nullptr}};
    block.Reads = sources;
    EXPECT_NE(q.evaluate(block, out).Message.find("I2"), std::string::npos);
    block.Count = -1;
    EXPECT_FALSE(q.evaluate(block, out).Success);
    // A logical output stores 1 for non-zero and NaN.
    const auto logical = compileOrFail("I1");
    FormulaProgram l(logical, eFormulaElementType::eFloat, eFormulaElementType::eUInt16,
                     eInstructionSet::eStandard, {4, 1, 1});
    const float values[4] = {0.0f, -0.0f, kNan, -2.0f};
    const FormulaReadSource one[1] = {{values, nullptr, nullptr}};
    block.Count = 4;
    block.Reads = one;
    std::uint8_t bytes[4];
    ASSERT_TRUE(l.evaluate(block, bytes).Success);
    EXPECT_EQ(std::vector<int>(bytes, bytes + 4), (std::vector<int>{0, 0, 1, 1}));
}

// ---- accuracy -------------------------------------------------------------------------------

/// Distance in units in the last place of the float nearest the reference.
double ulpError(float got, double ref) {
    if (std::isnan(ref)) return std::isnan(got) ? 0.0 : 1e9;
    if (std::isinf(ref)) {
        if (got == static_cast<float>(ref)) return 0.0;
        ref = std::copysign(std::ldexp(1.0, 128), ref);  // beyond the largest float
    }
    if (std::isnan(got) || std::isinf(got)) return 1e9;
    const double a = std::fabs(ref);
    const int e = a == 0.0 ? -149 : std::max(std::ilogb(a) - 23, -149);
    return std::fabs(static_cast<double>(got) - ref) / std::ldexp(1.0, e);
}

struct AccuracyCase {
    const char* Function;
    int Arity;
    double (*Reference)(double, double);
    float Lo, Hi;    ///< argument range (first argument)
    float Lo2, Hi2;  ///< second argument
    double MaxUlp;   ///< the bound we document
};

TEST(FormulaAccuracy, TranscendentalFunctionsStayWithinTheirDocumentedUlps) {
    const AccuracyCase cases[] = {
        {"exp", 1, [](double a, double) { return std::exp(a); }, -103.0f, 88.7f, 0, 0, 1.5},
        {"exp2", 1, [](double a, double) { return std::exp2(a); }, -149.0f, 127.9f, 0, 0, 1.5},
        {"log", 1, [](double a, double) { return std::log(a); }, 1e-45f, 3e38f, 0, 0, 1.5},
        {"log2", 1, [](double a, double) { return std::log2(a); }, 1e-45f, 3e38f, 0, 0, 2.0},
        {"log10", 1, [](double a, double) { return std::log10(a); }, 1e-45f, 3e38f, 0, 0, 2.0},
        {"sin", 1, [](double a, double) { return std::sin(a); }, -10000.0f, 10000.0f, 0, 0, 2.5},
        {"cos", 1, [](double a, double) { return std::cos(a); }, -10000.0f, 10000.0f, 0, 0, 2.5},
        {"tan", 1, [](double a, double) { return std::tan(a); }, -10000.0f, 10000.0f, 0, 0, 4.5},
        {"asin", 1, [](double a, double) { return std::asin(a); }, -1.0f, 1.0f, 0, 0, 3.0},
        {"acos", 1, [](double a, double) { return std::acos(a); }, -1.0f, 1.0f, 0, 0, 3.0},
        {"atan", 1, [](double a, double) { return std::atan(a); }, -1e6f, 1e6f, 0, 0, 2.0},
        {"sinh", 1, [](double a, double) { return std::sinh(a); }, -89.0f, 89.0f, 0, 0, 3.0},
        {"cosh", 1, [](double a, double) { return std::cosh(a); }, -89.0f, 89.0f, 0, 0, 3.0},
        {"tanh", 1, [](double a, double) { return std::tanh(a); }, -12.0f, 12.0f, 0, 0, 3.0},
        {"cbrt", 1, [](double a, double) { return std::cbrt(a); }, -3e38f, 3e38f, 0, 0, 2.0},
        {"sqrt", 1, [](double a, double) { return std::sqrt(a); }, 0.0f, 3e38f, 0, 0, 0.5},
        {"pow", 2, [](double a, double b) { return std::pow(a, b); }, 1e-3f, 1e3f, -12.0f, 12.0f,
         1.0},
        {"atan2", 2, [](double a, double b) { return std::atan2(a, b); }, -1e3f, 1e3f, -1e3f, 1e3f,
         3.0},
        {"hypot", 2, [](double a, double b) { return std::hypot(a, b); }, -1e30f, 1e30f, -1e30f,
         1e30f, 2.0},
    };
    std::mt19937 rng(11);
    std::string table = "| function | range | max ulp |\n|---|---|---|\n";
    for (const auto& c : cases) {
        // Samples spread in value and, for wide ranges, in magnitude.
        constexpr int n = 200000;
        Inputs in;
        in.SizeX = n;
        const bool logScale = c.Hi / std::max(std::fabs(c.Lo), 1e-30f) > 1e4f || c.Lo < -1e4f;
        auto sample = [&](float lo, float hi) {
            if (!logScale) return std::uniform_real_distribution<float>(lo, hi)(rng);
            const float mag = std::max(std::fabs(lo), std::fabs(hi));
            const float v =
                std::exp2(std::uniform_real_distribution<float>(-149.0f, std::log2(mag))(rng));
            return lo < 0.0f && rng() % 2 ? -v : v;
        };
        for (int i = 0; i < n; ++i) {
            in.Grey[0].push_back(sample(c.Lo, c.Hi));
            in.Grey[1].push_back(c.Arity == 2 ? sample(c.Lo2, c.Hi2) : 0.0f);
        }
        const std::string formula = std::string(c.Function) + (c.Arity == 1 ? "(I1)" : "(I1, I2)");
        const auto out = evaluate(compileOrFail(formula), in);
        double worst = 0.0;
        float worstAt = 0.0f;
        for (int i = 0; i < n; ++i) {
            const double ref = c.Reference(in.Grey[0][static_cast<std::size_t>(i)],
                                           in.Grey[1][static_cast<std::size_t>(i)]);
            if (std::fabs(ref) > 3.4028234663852886e38)
                continue;  // overflows: checked by the edge tables
            const double e = ulpError(out[static_cast<std::size_t>(i)], ref);
            if (e > worst) {
                worst = e;
                worstAt = in.Grey[0][static_cast<std::size_t>(i)];
            }
        }
        EXPECT_LE(worst, c.MaxUlp) << c.Function << " at " << worstAt;
        char row[160];
        std::snprintf(row, sizeof row, "| %s | [%g, %g]%s | %.2f |\n", c.Function,
                      static_cast<double>(c.Lo), static_cast<double>(c.Hi),
                      c.Arity == 2 ? " x second range" : "", worst);
        table += row;
    }
    std::printf("%s", table.c_str());
}

}  // namespace
