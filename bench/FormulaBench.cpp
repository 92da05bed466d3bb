// The formula evaluator against hand-written fused loops of the same arithmetic,
// on three float 4096x4096 images, one thread; and the compile time of a long
// formula. Rows are bound to the evaluator directly (no border), so the figures
// are the evaluator's own cost.
//
// Each formula run is checked at a few pixels against the fused loop before
// timing, so that a broken build cannot report a fast no-op.

#include <benchmark/benchmark.h>
#include <vimra/core/InstructionSet.h>
#include <vimra/formula/ImageFormulaEvaluator.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vimra;
using namespace vimra::formula;

constexpr int kSize = 4096;

struct Images {
    std::vector<float> I1, I2, I3, Out;
    Images() : I1(kSize * kSize), I2(kSize * kSize), I3(kSize * kSize), Out(kSize * kSize) {
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> d(-4.0f, 4.0f);
        for (std::size_t i = 0; i < I1.size(); ++i) {
            I1[i] = d(rng);
            I2[i] = d(rng);
            I3[i] = d(rng);
        }
    }
};

Images& images() {
    static Images im;
    return im;
}

// ---- the fused loops ------------------------------------------------------------------------

void fusedLinear(const float* a, const float* b, const float* c, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = 0.5f * a[i] + 0.25f * b[i] + std::sqrt(std::fabs(c[i]));
}
// The same loop compiled for wider vectors, run only where the processor has them.
__attribute__((target("avx2"))) void fusedLinearAvx2(const float* a, const float* b, const float* c,
                                                     float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = 0.5f * a[i] + 0.25f * b[i] + std::sqrt(std::fabs(c[i]));
}
__attribute__((target("avx512f"))) void fusedLinearAvx512(const float* a, const float* b,
                                                          const float* c, float* out,
                                                          std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = 0.5f * a[i] + 0.25f * b[i] + std::sqrt(std::fabs(c[i]));
}
void fusedGauss(const float* a, const float* b, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) out[i] = std::exp(-a[i] * a[i]) * std::sin(b[i]);
}
// 30 nodes: see kLong.
void fusedLong(const float* a, const float* b, const float* c, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const float x = a[i], y = b[i], z = c[i];
        const float t = (x + y) * 0.5f - z;
        out[i] = t / (std::fabs(x - z) + 1.0f) + std::fmin(x, y) * std::fmax(y, z) -
                 std::fmin(std::fmax(x * 2.0f, 0.0f), 100.0f) + (x > y ? z : x) * 0.25f +
                 std::floor(y * 0.1f);
    }
}

const char* kLinear = "0.5*I1 + 0.25*I2 + sqrt(abs(I3))";
const char* kGauss = "exp(-I1*I1) * sin(I2)";
const char* kLong =
    "((I1 + I2) * 0.5 - I3) / (abs(I1 - I3) + 1) + min(I1, I2) * max(I2, I3) - clamp(I1 * 2, 0, "
    "100) + "
    "(I1 > I2 ? I3 : I1) * 0.25 + floor(I2 * 0.1)";

ImageFormulaManagerPtr compileOrDie(const std::string& text) {
    const FormulaCompileResult r = compileFormula(text);
    if (!r.ok()) {
        std::fprintf(stderr, "%s", formatDiagnostics(r.Diagnostics).c_str());
        std::abort();
    }
    return r.Manager;
}

/// The whole image through the evaluator, row by row.
void runFormula(FormulaProgram& p, const ImageFormulaManager& m, Images& im) {
    const float* planes[3] = {im.I1.data(), im.I2.data(), im.I3.data()};
    std::vector<FormulaReadSource> sources(m.getReads().size());
    FormulaBlock block;
    block.Count = kSize;
    block.Reads = sources.data();
    for (int y = 0; y < kSize; ++y) {
        for (std::size_t r = 0; r < sources.size(); ++r)
            sources[r].Row = planes[m.getReads()[r].ImageId] + static_cast<std::size_t>(y) * kSize;
        block.Position[1] = y;
        p.evaluate(block, im.Out.data() + static_cast<std::size_t>(y) * kSize);
    }
}

void formulaBenchmark(benchmark::State& state, const std::string& text,
                      void (*check)(const Images&, std::size_t)) {
    const auto set = static_cast<eInstructionSet::domain>(state.range(0));
    if (!core::isAvailable(set)) {
        state.SkipWithError("instruction set not available");
        return;
    }
    Images& im = images();
    const auto m = compileOrDie(text);
    FormulaProgram p(m, eFormulaElementType::eFloat, eFormulaElementType::eUInt16, set,
                     {kSize, kSize, 1});
    runFormula(p, *m, im);
    for (std::size_t i : {std::size_t{0}, std::size_t{4097}, std::size_t{kSize} * kSize - 1})
        check(im, i);
    for (auto _ : state) {
        runFormula(p, *m, im);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize) * kSize * 4 *
                            static_cast<std::int64_t>(m->getReads().size() + 1));
    state.counters["nodes"] = static_cast<double>(m->getNodeCount());
    state.SetLabel(core::instructionSetName(set));
}

void near(float got, float want, const char* what) {
    if (!(std::fabs(got - want) <= 1e-4f * (1.0f + std::fabs(want)))) {
        std::fprintf(stderr, "%s: formula gives %g, fused loop %g\n", what,
                     static_cast<double>(got), static_cast<double>(want));
        std::abort();
    }
}

void BM_FormulaLinear(benchmark::State& state) {
    formulaBenchmark(state, kLinear, [](const Images& im, std::size_t i) {
        float want;
        fusedLinear(&im.I1[i], &im.I2[i], &im.I3[i], &want, 1);
        near(im.Out[i], want, kLinear);
    });
}
void BM_FormulaGauss(benchmark::State& state) {
    formulaBenchmark(state, kGauss, [](const Images& im, std::size_t i) {
        float want;
        fusedGauss(&im.I1[i], &im.I2[i], &want, 1);
        near(im.Out[i], want, kGauss);
    });
}
void BM_FormulaLong(benchmark::State& state) {
    formulaBenchmark(state, kLong, [](const Images& im, std::size_t i) {
        float want;
        fusedLong(&im.I1[i], &im.I2[i], &im.I3[i], &want, 1);
        near(im.Out[i], want, "long formula");
    });
}

template <int Which>
void BM_Fused(benchmark::State& state) {
    if ((Which == 3 && !core::isAvailable(eInstructionSet::eAVX2)) ||
        (Which == 4 && !core::isAvailable(eInstructionSet::eAVX512))) {
        state.SkipWithError("instruction set not available");
        return;
    }
    Images& im = images();
    const std::size_t n = im.Out.size();
    for (auto _ : state) {
        if constexpr (Which == 0)
            fusedLinear(im.I1.data(), im.I2.data(), im.I3.data(), im.Out.data(), n);
        if constexpr (Which == 1) fusedGauss(im.I1.data(), im.I2.data(), im.Out.data(), n);
        if constexpr (Which == 2)
            fusedLong(im.I1.data(), im.I2.data(), im.I3.data(), im.Out.data(), n);
        if constexpr (Which == 3)
            fusedLinearAvx2(im.I1.data(), im.I2.data(), im.I3.data(), im.Out.data(), n);
        if constexpr (Which == 4)
            fusedLinearAvx512(im.I1.data(), im.I2.data(), im.I3.data(), im.Out.data(), n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(n) * 4 *
                            (Which == 1 ? 3 : 4));
}

/// A chain of 500 operators over 500 distinct constants and a coordinate: 1,001
/// nodes in 1,001 tokens (the token limit keeps formulas near this size).
std::string thousandNodes() {
    std::string s = "x";
    for (int k = 1; k <= 500; ++k) s += (k % 2 ? " + " : " - ") + std::to_string(k) + ".5";
    return s;
}

void BM_Compile1000Nodes(benchmark::State& state) {
    const std::string text = thousandNodes();
    const auto m = compileOrDie(text);
    for (auto _ : state) benchmark::DoNotOptimize(compileFormula(text));
    state.counters["nodes"] = static_cast<double>(m->getNodeCount());
    state.counters["bytes"] = static_cast<double>(text.size());
}

void BM_CompileMixed(benchmark::State& state) {
    // A mix of calls, reads at offsets, maps and comparisons, near the token limit.
    std::string text = "0";
    for (int k = 0; k < 200; ++k) {
        const std::string longer = text + " + sin(I1[" + std::to_string(k % 5 - 2) + ",1] * " +
                                   std::to_string(k) + ") * (I2 > " + std::to_string(k) +
                                   " ? hypot(I3, x) : map(L1, {1: 2, 3..4: " + std::to_string(k) +
                                   "}))";
        if (!compileFormula(longer).ok()) break;  // the token limit
        text = longer;
    }
    const FormulaCompileResult r = compileFormula(text);
    for (auto _ : state) benchmark::DoNotOptimize(compileFormula(text));
    state.counters["nodes"] = r.ok() ? static_cast<double>(r.Manager->getNodeCount()) : 0.0;
    state.counters["valid"] = r.ok() ? 1.0 : 0.0;
}

#define VIMRA_ISA_ARGS                \
    Arg(eInstructionSet::eStandard)   \
        ->Arg(eInstructionSet::eSSE2) \
        ->Arg(eInstructionSet::eAVX2) \
        ->Arg(eInstructionSet::eAVX512)

BENCHMARK(BM_FormulaLinear)->VIMRA_ISA_ARGS->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Fused<0>)->Name("BM_FusedLinear")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Fused<3>)->Name("BM_FusedLinearAvx2")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Fused<4>)->Name("BM_FusedLinearAvx512")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FormulaLong)->VIMRA_ISA_ARGS->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Fused<2>)->Name("BM_FusedLong")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FormulaGauss)->VIMRA_ISA_ARGS->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Fused<1>)->Name("BM_FusedGauss")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Compile1000Nodes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CompileMixed)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
