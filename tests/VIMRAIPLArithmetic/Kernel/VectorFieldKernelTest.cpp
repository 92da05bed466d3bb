// The vector-field kernels (L1 and L2 norms, polar transforms) of every type
// pair and instruction set this processor offers, and of the emulated AVX-512
// build: each output pixel against the scalar model of its path, on random data
// with extreme values and strip lengths that are not multiples of the step; the
// approximations' accuracy against double precision.

#include "KernelTestSupport.h"
#include "TestData.h"
#include "VectorFieldReference.h"

#include <vimra/image/BufferType.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace vimra::arithm_test {
namespace {

using namespace ref;

constexpr std::size_t s_counts[] = {0, 1, 15, 17, 33, 64, 65, 127, 1000};

/// A kernel of the library (or of the emulated build) by class stem and element
/// types (0..6, inputs first); null where none is registered.
AlgorithmFunction kernelOf(const KernelSource* source, const std::string& op,
                           const std::vector<int>& types) {
    processor::DataTypeIdentifierColl key;
    for (int t : types) key.append(static_cast<image::eImageBufferType::domain>(t + 1));
    processor::InstructionSetsIdentifier forced;
    if (source && source->emulated()) {
        forced.init(eInstructionSet::eStandard);
        return emulatedSelector(op.c_str()).select(key, forced);
    }
    forced.init(source ? source->set : eInstructionSet::eStandard);
    processor::AlgorithmFunctionSelector* selector =
        processor::findFunctionSelector("vimra::imaproc::arithm::" + op + "Lvl3");
    return selector ? selector->select(key, forced) : nullptr;
}

processor::ProcessingResult<bool> runStrips(AlgorithmFunction f,
                                            std::initializer_list<const StripBuffer*> in,
                                            std::initializer_list<StripBuffer*> out,
                                            std::size_t count) {
    processor::KernelArgs args;
    args.info.count = count;
    int k = 0;
    for (const StripBuffer* b : in) args.in[k++] = b->data();
    k = 0;
    for (StripBuffer* b : out) args.out[k++] = b->data();
    return f(args);
}

// ---- norms -----------------------------------------------------------------------------------

struct NormCase {
    const char* op;
    int inputs;
    bool l2;
};
constexpr NormCase s_norms[] = {{"L1Norm2Img", 2, false},
                                {"L1Norm3Img", 3, false},
                                {"L2Norm2Img", 2, true},
                                {"L2Norm3Img", 3, true}};

/// Inputs worth seeing in every run where the type holds them.
constexpr double s_normEdges[][3] = {{200, 100, 0},
                                     {255, 255, 255},
                                     {-128, -128, -128},
                                     {-128, 1, 0},
                                     {-32768, -32768, 1},
                                     {40000, 40000, 0},
                                     {3, 4, 0},
                                     {1, 2, 2},
                                     {-2147483648.0, 1, 0},
                                     {4294967295.0, 1, 1},
                                     {65535, 65535, 65535},
                                     {-0.0, 0.0, -0.0}};

using NormParam = std::tuple<int, KernelSource>;
class NormKernels : public ::testing::TestWithParam<NormParam> {};

TEST_P(NormKernels, MatchTheRulesOfTheirPathAndTheStandardKernel) {
    const NormCase& c = s_norms[std::get<0>(GetParam())];
    const KernelSource& k = std::get<1>(GetParam());
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    const eIsa isa = isaOf(k.set);
    Mismatches m;
    int kernelsRun = 0;
    for (int pair = 0; pair < s_pairs && !m.full(); ++pair) {
        const int t = pair / 7, out = pair % 7;
        const std::vector<int> types =
            c.inputs == 2 ? std::vector<int>{t, t, out} : std::vector<int>{t, t, t, out};
        const AlgorithmFunction vec = kernelOf(&k, c.op, types);
        const AlgorithmFunction standard = kernelOf(nullptr, c.op, types);
        const bool expected = k.set != eInstructionSet::eAVX || (t == eFloat && out == eFloat);
        if (vec == nullptr || standard == nullptr) {
            if (expected)
                m.add(std::string(k.name) + " " + c.op + " " + info(t).name + " -> " +
                      info(out).name + ": no kernel");
            continue;
        }
        if (!expected) m.add(std::string(k.name) + " registers an integer kernel");
        ++kernelsRun;
        Generator gen(static_cast<std::uint64_t>(pair) * 7919u +
                      static_cast<std::uint64_t>(k.set) * 31u +
                      static_cast<std::uint64_t>(c.inputs + c.l2 * 10));
        for (std::size_t count : s_counts) {
            StripBuffer a(t, count), b(t, count), d(t, count), outVec(out, count),
                outStd(out, count);
            StripBuffer* in[3] = {&a, &b, &d};
            for (std::size_t i = 0; i < paddedCount(count); ++i)
                for (StripBuffer* s : in) s->set(i, gen.value(t, false, false));
            if (count >= 100) {
                std::size_t at = 40;
                for (const auto& edge : s_normEdges) {
                    if (!info(t).isFloat && !std::all_of(edge, edge + 3, [&](double v) {
                            return inRange(t, static_cast<std::int64_t>(v));
                        }))
                        continue;
                    for (int j = 0; j < 3; ++j)
                        in[j]->set(at, info(t).isFloat
                                           ? floatValue(static_cast<float>(edge[j]))
                                           : intValue(static_cast<std::int64_t>(edge[j])));
                    at += 3;
                }
            }
            const auto rv = c.inputs == 2 ? runStrips(vec, {&a, &b}, {&outVec}, count)
                                          : runStrips(vec, {&a, &b, &d}, {&outVec}, count);
            const auto rs = c.inputs == 2 ? runStrips(standard, {&a, &b}, {&outStd}, count)
                                          : runStrips(standard, {&a, &b, &d}, {&outStd}, count);
            if (!rv.isSuccess() || !rs.isSuccess()) m.add("a kernel reported failure");
            if (!outVec.guardIntact())
                m.add(std::string(k.name) + " " + c.op + ": wrote past the strip's padding");
            for (std::size_t i = 0; i < count && !m.full(); ++i) {
                const Value v[3] = {a.get(i), b.get(i), d.get(i)};
                const BinaryExpectation e =
                    c.l2 ? expectL2(t, v, c.inputs, out, isa) : expectL1(t, v, c.inputs, out, isa);
                const Value got = outVec.get(i), stdOut = outStd.get(i);
                std::string where = std::string(k.name) + " " + c.op + " " + info(t).name + " (" +
                                    toString(t, v[0]) + ", " + toString(t, v[1]);
                if (c.inputs == 3) where += ", " + toString(t, v[2]);
                where += std::string(") -> ") + info(out).name + ": ";
                if (!sameOutput(out, got, e.vector))
                    m.add(where + "vector kernel gave " + toString(out, got) + ", expected " +
                          toString(out, e.vector));
                if (!sameOutput(out, stdOut, e.standard))
                    m.add(where + "standard kernel gave " + toString(out, stdOut) + ", expected " +
                          toString(out, e.standard));
                if (e.mustAgree && !sameOutput(out, got, stdOut))
                    m.add(where + "in range, yet the kernels differ");
            }
        }
    }
    EXPECT_GT(kernelsRun, 0);
}

std::string normName(const ::testing::TestParamInfo<NormParam>& p) {
    return std::string(s_norms[std::get<0>(p.param)].op) + "_" + sourceName(std::get<1>(p.param));
}

INSTANTIATE_TEST_SUITE_P(Isa, NormKernels,
                         ::testing::Combine(::testing::Range(0, 4),
                                            ::testing::ValuesIn(kernelSources())),
                         normName);

/// The AVX-512 sums of squares are fused; the roots they give stay within one
/// unit in the last place of the other paths' roots for two components, two
/// units for three (two roundings saved).
TEST(NormKernels, FusedSumsOfSquaresDifferFromRoundedOnesInTheLastBitsOnly) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> mantissa(1.0f, 2.0f);
    std::uniform_int_distribution<int> exponent(-40, 40);
    int differing = 0;
    for (int i = 0; i < 200000; ++i) {
        Value v[3];
        for (Value& x : v)
            x = floatValue(std::ldexp(mantissa(rng), exponent(rng)) * ((rng() & 1) ? 1.0f : -1.0f));
        for (int n : {2, 3}) {
            const float r = l2Rounded(eFloat, v, n), f = l2Fused(eFloat, v, n);
            const auto ulps = std::abs(static_cast<std::int64_t>(std::bit_cast<std::int32_t>(r)) -
                                       static_cast<std::int64_t>(std::bit_cast<std::int32_t>(f)));
            ASSERT_LE(ulps, n - 1)
                << toString(eFloat, v[0]) << ", " << toString(eFloat, v[1]) << ", n = " << n;
            differing += ulps != 0;
        }
    }
    EXPECT_GT(differing, 0);  // the difference is real, so the per-path models above are needed
}

// ---- polar transforms ------------------------------------------------------------------------

/// Random coordinates: ordinary values, tiny and huge magnitudes, axis values,
/// values around the snapping threshold and specials.
float randomCoordinate(std::mt19937_64& rng) {
    const float eps = image::NumericLimits<float>::s_sqrt_eps;
    static const float specials[] = {0.0f,
                                     -0.0f,
                                     1.0f,
                                     -1.0f,
                                     eps,
                                     -eps,
                                     std::nextafter(eps, 1.0f),
                                     -std::nextafter(eps, 1.0f),
                                     1e-5f,
                                     3.0f,
                                     4.0f,
                                     FLT_MAX,
                                     -FLT_MAX,
                                     1e-40f,
                                     std::numeric_limits<float>::infinity(),
                                     -std::numeric_limits<float>::infinity(),
                                     std::numeric_limits<float>::quiet_NaN()};
    switch (rng() % 8) {
        case 0:
            return specials[rng() % std::size(specials)];
        case 1:
            return std::ldexp(std::uniform_real_distribution<float>(-2.0f, 2.0f)(rng),
                              std::uniform_int_distribution<int>(-60, 60)(rng));
        case 2:
            return std::uniform_real_distribution<float>(-8.0f * eps, 8.0f * eps)(rng);
        default:
            return std::uniform_real_distribution<float>(-300.0f, 300.0f)(rng);
    }
}

float randomAngle(std::mt19937_64& rng) {
    static const float specials[] = {0.0f,
                                     -0.0f,
                                     s_halfPi,
                                     -s_quarterPi,
                                     s_pi,
                                     -s_pi,
                                     1e6f,
                                     -3e9f,
                                     1e30f,
                                     std::numeric_limits<float>::infinity(),
                                     std::numeric_limits<float>::quiet_NaN()};
    switch (rng() % 6) {
        case 0:
            return specials[rng() % std::size(specials)];
        case 1:
            return std::uniform_real_distribution<float>(-1e4f, 1e4f)(rng);
        default:
            return std::uniform_real_distribution<float>(-8.0f, 8.0f)(rng);
    }
}

/// The same bits, or both NaN: which NaN an operation on two NaN operands
/// passes on depends on their order, which the compiler may swap.
bool sameBits(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}
std::string show(float v) {
    return toString(eFloat, floatValue(v));
}

/// Runs a transform kernel (null source: the standard one) on two inputs.
struct TransformRun {
    StripBuffer first, second;
    bool ok = false;
    TransformRun(AlgorithmFunction f, const StripBuffer& a, const StripBuffer& b, std::size_t count)
        : first(eFloat, count), second(eFloat, count) {
        ok = runStrips(f, {&a, &b}, {&first, &second}, count).isSuccess();
    }
};

class TransformKernels : public ::testing::TestWithParam<KernelSource> {};

TEST_P(TransformKernels, CartesianToPolarMatchesItsApproximationBitForBit) {
    const KernelSource& k = GetParam();
    const AlgorithmFunction vec =
        kernelOf(&k, "CartesianToPolarImg", {eFloat, eFloat, eFloat, eFloat});
    if (k.set == eInstructionSet::eAVX2) {
        EXPECT_EQ(vec, nullptr)
            << "no AVX2 kernel is registered for the cartesian to polar transform";
        return;
    }
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    ASSERT_NE(vec, nullptr);
    std::mt19937_64 rng(21 + k.set);
    Mismatches m;
    for (std::size_t count : s_counts) {
        StripBuffer x(eFloat, count), y(eFloat, count);
        for (std::size_t i = 0; i < paddedCount(count); ++i) {
            x.set(i, floatValue(randomCoordinate(rng)));
            y.set(i, floatValue(randomCoordinate(rng)));
        }
        const TransformRun r(vec, x, y, count);
        ASSERT_TRUE(r.ok);
        EXPECT_TRUE(r.first.guardIntact() && r.second.guardIntact());
        for (std::size_t i = 0; i < count && !m.full(); ++i) {
            const float xi = x.get(i).f, yi = y.get(i).f;
            const float rho = r.first.get(i).f, theta = r.second.get(i).f;
            if (!sameBits(rho, radius(xi, yi)))
                m.add(std::string(k.name) + " rho(" + show(xi) + ", " + show(yi) +
                      ") = " + show(rho));
            const float expected = approximateAngle(yi, xi);
            if (!sameBits(theta, expected))
                m.add(std::string(k.name) + " theta(" + show(xi) + ", " + show(yi) +
                      ") = " + show(theta) + ", expected " + show(expected));
        }
    }
}

TEST_P(TransformKernels, PolarToCartesianGivesTheSameBitsOnEveryPath) {
    const KernelSource& k = GetParam();
    VIMRA_SKIP_UNLESS_RUNNABLE(k);
    const AlgorithmFunction vec =
        kernelOf(&k, "PolarToCartesianImg", {eFloat, eFloat, eFloat, eFloat});
    const AlgorithmFunction standard =
        kernelOf(nullptr, "PolarToCartesianImg", {eFloat, eFloat, eFloat, eFloat});
    ASSERT_NE(vec, nullptr);
    ASSERT_NE(standard, nullptr);
    std::mt19937_64 rng(31 + k.set);
    Mismatches m;
    for (std::size_t count : s_counts) {
        StripBuffer rho(eFloat, count), theta(eFloat, count);
        for (std::size_t i = 0; i < paddedCount(count); ++i) {
            rho.set(i, floatValue(randomCoordinate(rng)));
            theta.set(i, floatValue(randomAngle(rng)));
        }
        const TransformRun v(vec, rho, theta, count), s(standard, rho, theta, count);
        ASSERT_TRUE(v.ok && s.ok);
        EXPECT_TRUE(v.first.guardIntact() && v.second.guardIntact());
        for (std::size_t i = 0; i < count && !m.full(); ++i) {
            const float r = rho.get(i).f, t = theta.get(i).f;
            float sine = 0, cosine = 0;
            approximateSineCosine(t, sine, cosine);
            const float ex = cosine * r, ey = sine * r;
            const std::string where = "(" + show(r) + ", " + show(t) + ")";
            for (const TransformRun* run : {&v, &s}) {
                const char* path = run == &v ? k.name : "standard";
                if (!sameBits(run->first.get(i).f, ex) || !sameBits(run->second.get(i).f, ey))
                    m.add(std::string(path) + " " + where + " gave (" + show(run->first.get(i).f) +
                          ", " + show(run->second.get(i).f) + "), expected (" + show(ex) + ", " +
                          show(ey) + ")");
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Isa, TransformKernels, ::testing::ValuesIn(kernelSources()),
                         [](const ::testing::TestParamInfo<KernelSource>& p) {
                             return sourceName(p.param);
                         });

/// Every path of the cartesian to polar transform: the standard kernel and each
/// vector source this processor runs.
std::vector<std::pair<std::string, AlgorithmFunction>> cartesianToPolarPaths() {
    std::vector<std::pair<std::string, AlgorithmFunction>> paths = {
        {"standard", kernelOf(nullptr, "CartesianToPolarImg", {eFloat, eFloat, eFloat, eFloat})}};
    for (const KernelSource& k : kernelSources())
        if (runnable(k) && k.set != eInstructionSet::eAVX2)
            paths.emplace_back(sourceName(k), kernelOf(&k, "CartesianToPolarImg",
                                                       {eFloat, eFloat, eFloat, eFloat}));
    return paths;
}

TEST(TransformKernels, CartesianToPolarEdgeValuesOnEveryPath) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Expected angles, exact unless marked near (within 2e-7): the system's
    // atan2f is not correctly rounded everywhere.
    struct Case {
        float x, y, rho, standardTheta, vectorTheta;
        bool standardNear, vectorNear;
    };
    const Case cases[] = {
        {3.0f, 4.0f, 5.0f, 0.9272952f, 0.9272952f, true, true},
        {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, false, false},
        {-1.0f, 0.0f, 1.0f, s_pi, -s_pi, false, false},
        {1e-5f, 1.0f, 1.0f, 1.5707864f, s_halfPi, true, false},
        {-1e-5f, -1.0f, 1.0f, -1.5708064f, -s_halfPi, true, false},
        {nan, 1.0f, nan, nan, nan, false, false},
        {1.0f, nan, nan, nan, nan, false, false},
        {0.0f, nan, nan, nan, nan, false, false},
    };
    for (const auto& [name, f] : cartesianToPolarPaths()) {
        ASSERT_NE(f, nullptr) << name;
        StripBuffer x(eFloat, std::size(cases)), y(eFloat, std::size(cases));
        for (std::size_t i = 0; i < std::size(cases); ++i) {
            x.set(i, floatValue(cases[i].x));
            y.set(i, floatValue(cases[i].y));
        }
        const TransformRun r(f, x, y, std::size(cases));
        ASSERT_TRUE(r.ok);
        for (std::size_t i = 0; i < std::size(cases); ++i) {
            const Case& c = cases[i];
            const bool standard = name == "standard";
            const float theta = standard ? c.standardTheta : c.vectorTheta;
            const float gotRho = r.first.get(i).f, gotTheta = r.second.get(i).f;
            const std::string where = name + " (" + show(c.x) + ", " + show(c.y) + ")";
            EXPECT_TRUE(std::isnan(c.rho) ? std::isnan(gotRho) : gotRho == c.rho)
                << where << " rho " << show(gotRho);
            if (std::isnan(theta)) {
                EXPECT_TRUE(std::isnan(gotTheta)) << where << " theta " << show(gotTheta);
            } else if (standard ? c.standardNear : c.vectorNear) {
                EXPECT_NEAR(gotTheta, theta, 2e-7f) << where;
            } else {
                EXPECT_TRUE(sameBits(gotTheta, theta))
                    << where << " theta " << show(gotTheta) << ", expected " << show(theta);
            }
        }
    }
}

// ---- accuracy against double precision ---------------------------------------------------------

/// Distance in units in the last place of the float nearest to the exact value.
double ulpsFrom(float got, double exact) {
    const float nearest = static_cast<float>(exact);
    const double ulp = std::max(
        static_cast<double>(std::nextafter(std::fabs(nearest), FLT_MAX) - std::fabs(nearest)),
        static_cast<double>(std::numeric_limits<float>::denorm_min()));
    return std::fabs(static_cast<double>(got) - exact) / ulp;
}

constexpr std::size_t s_points = 1000000;

TEST(TransformAccuracy, CartesianToPolarOnAMillionPoints) {
    std::mt19937_64 rng(41);
    StripBuffer x(eFloat, s_points), y(eFloat, s_points);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-20, 20);
    for (std::size_t i = 0; i < paddedCount(s_points); ++i) {
        x.set(i, floatValue(std::ldexp(unit(rng), exponent(rng))));
        y.set(i, floatValue(std::ldexp(unit(rng), exponent(rng))));
    }
    const float eps = image::NumericLimits<float>::s_sqrt_eps;
    for (const auto& [name, f] : cartesianToPolarPaths()) {
        const TransformRun r(f, x, y, s_points);
        ASSERT_TRUE(r.ok);
        double worstRho = 0, worstTheta = 0;
        for (std::size_t i = 0; i < s_points; ++i) {
            const double xi = x.get(i).f, yi = y.get(i).f;
            worstRho = std::max(worstRho, ulpsFrom(r.first.get(i).f, std::hypot(xi, yi)));
            // Not approximations: the snapping band near the y axis, and -pi for y = 0, x < 0.
            if (name != "standard" && (std::fabs(xi) <= eps || (yi == 0.0 && xi < 0.0))) continue;
            worstTheta = std::max(worstTheta, ulpsFrom(r.second.get(i).f, std::atan2(yi, xi)));
        }
        std::printf("[ ACCURACY ] %-16s rho %.2f ulp, theta %.2f ulp (max over %zu points)\n",
                    name.c_str(), worstRho, worstTheta, s_points);
        EXPECT_LE(worstRho, 1.5) << name;  // two rounded squares, a rounded sum, a rounded root
        EXPECT_LE(worstTheta, 2.0) << name;
    }
}

TEST(TransformAccuracy, PolarToCartesianOnAMillionPoints) {
    std::mt19937_64 rng(43);
    StripBuffer rho(eFloat, s_points), theta(eFloat, s_points);
    std::uniform_real_distribution<float> length(0.5f, 1000.0f), angle(-2.0f * s_pi, 2.0f * s_pi);
    for (std::size_t i = 0; i < paddedCount(s_points); ++i) {
        rho.set(i, floatValue(length(rng)));
        theta.set(i, floatValue(angle(rng)));
    }
    std::vector<std::pair<std::string, AlgorithmFunction>> paths = {
        {"standard", kernelOf(nullptr, "PolarToCartesianImg", {eFloat, eFloat, eFloat, eFloat})}};
    for (const KernelSource& k : kernelSources())
        if (runnable(k))
            paths.emplace_back(sourceName(k), kernelOf(&k, "PolarToCartesianImg",
                                                       {eFloat, eFloat, eFloat, eFloat}));
    for (const auto& [name, f] : paths) {
        const TransformRun r(f, rho, theta, s_points);
        ASSERT_TRUE(r.ok);
        // Error of a coordinate in units in the last place of the vector's length:
        // relative to its own value it grows without bound near the axes.
        double worst = 0;
        for (std::size_t i = 0; i < s_points; ++i) {
            const double rr = rho.get(i).f, tt = theta.get(i).f;
            const double ulp =
                std::nextafter(static_cast<float>(rr), FLT_MAX) - static_cast<float>(rr);
            worst = std::max({worst, std::fabs(r.first.get(i).f - rr * std::cos(tt)) / ulp,
                              std::fabs(r.second.get(i).f - rr * std::sin(tt)) / ulp});
        }
        std::printf("[ ACCURACY ] %-16s x, y %.2f ulp of rho (max over %zu points)\n", name.c_str(),
                    worst, s_points);
        EXPECT_LE(worst, 2.0) << name;
    }
}

}  // namespace
}  // namespace vimra::arithm_test
