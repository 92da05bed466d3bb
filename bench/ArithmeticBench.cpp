// Our operations on the workloads of bench/BenchCommon.h.
//
// Every workload runs with each thread count (oneTBB capped with
// tbb::global_control) and the best instruction set the processor offers
// ("isa:best"); workloads marked for it also run once per instruction set
// (vimra::core::limitInstructionSets). Timing uses the form with a preallocated
// output; small images also time the form that creates its output.
//
// Before timing, one call is checked at a few pixels against the arithmetic the
// operation defines, so that a broken build cannot report a fast no-op.
//
// An operation whose header is not there yet is left out; the context line
// "operations" lists the ones this program was built with.

#include "BenchCommon.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <vimra/core/InstructionSet.h>
#include <vimra/image/BaseImage.h>
#include <vimra/processor/Streaming.h>

#define VIMRA_BENCH_OP_HEADER(Op) <VIMRAIPL/VIMRAIPLArithmetic/Processor/Op/Op##Lvl1.h>

#if __has_include(VIMRA_BENCH_OP_HEADER(AddImgImg))
#include VIMRA_BENCH_OP_HEADER(AddImgImg)
#define VIMRA_BENCH_HAS_ADD 1
#endif
#if __has_include(VIMRA_BENCH_OP_HEADER(SubtractImgImg))
#include VIMRA_BENCH_OP_HEADER(SubtractImgImg)
#define VIMRA_BENCH_HAS_SUBTRACT 1
#endif
#if __has_include(VIMRA_BENCH_OP_HEADER(MultiplyImgImg))
#include VIMRA_BENCH_OP_HEADER(MultiplyImgImg)
#define VIMRA_BENCH_HAS_MULTIPLY 1
#endif
#if __has_include(VIMRA_BENCH_OP_HEADER(DivideImgImg))
#include VIMRA_BENCH_OP_HEADER(DivideImgImg)
#define VIMRA_BENCH_HAS_DIVIDE 1
#endif
#if __has_include(VIMRA_BENCH_OP_HEADER(AbsImg))
#include VIMRA_BENCH_OP_HEADER(AbsImg)
#define VIMRA_BENCH_HAS_ABS 1
#endif

#if __has_include(VIMRA_BENCH_OP_HEADER(MinImgImg))
#include VIMRA_BENCH_OP_HEADER(MinImgImg)
#include VIMRA_BENCH_OP_HEADER(MaxImgImg)
#include VIMRA_BENCH_OP_HEADER(BlendImgImg)
#include VIMRA_BENCH_OP_HEADER(LinearCombineImgImg)
#include VIMRA_BENCH_OP_HEADER(ComplexMultiplyImgImg)
#define VIMRA_BENCH_HAS_TWO_IMAGE_FAMILY 1
#endif

#include <cmath>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace {

using vimra::bench::Elem;
using vimra::bench::Workload;
using vimra::image::ConstImagePtr;
using vimra::image::ImagePtr;
namespace arithm = vimra::imaproc::arithm;

/// The two entry forms of one operation; unary operations ignore their second input.
struct Operation {
    std::string name;
    void (*given)(const ConstImagePtr& in1, const ConstImagePtr& in2, const ImagePtr& out);
    ImagePtr (*create)(const ConstImagePtr& in1, const ConstImagePtr& in2);
};

ImagePtr image(Elem type, int size, std::uint32_t role);

std::vector<Operation> operations() {
    std::vector<Operation> ops;
#ifdef VIMRA_BENCH_HAS_ADD
    ops.push_back(
        {"add",
         [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
             arithm::addImgImg(a, b, o);
         },
         [](const ConstImagePtr& a, const ConstImagePtr& b) { return arithm::addImgImg(a, b); }});
#endif
#ifdef VIMRA_BENCH_HAS_SUBTRACT
    ops.push_back({"subtract",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::subtractImgImg(a, b, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       return arithm::subtractImgImg(a, b);
                   }});
#endif
#ifdef VIMRA_BENCH_HAS_MULTIPLY
    ops.push_back({"multiply",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::multiplyImgImg(a, b, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       return arithm::multiplyImgImg(a, b);
                   }});
#endif
#ifdef VIMRA_BENCH_HAS_DIVIDE
    ops.push_back({"divide",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::divideImgImg(a, b, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       return arithm::divideImgImg(a, b);
                   }});
#endif
#ifdef VIMRA_BENCH_HAS_ABS
    ops.push_back({"abs",
                   [](const ConstImagePtr& a, const ConstImagePtr&, const ImagePtr& o) {
                       arithm::absImg(a, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr&) { return arithm::absImg(a); }});
#endif
#ifdef VIMRA_BENCH_HAS_TWO_IMAGE_FAMILY
    ops.push_back({"min",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::minImgImg(a, b, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) { return arithm::minImgImg(a, b); }});
    ops.push_back({"max",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::maxImgImg(a, b, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) { return arithm::maxImgImg(a, b); }});
    // The peers' coefficients: bench::s_blendWeight, and 0.5, 0.5 (cv::addWeighted's usual mix).
    ops.push_back({"blend",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::blendImgImg(a, b, vimra::bench::s_blendWeight, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       return arithm::blendImgImg(a, b, vimra::bench::s_blendWeight);
                   }});
    ops.push_back({"lincomb",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       arithm::linearCombineImgImg(a, b, 0.5f, 0.5f, o);
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       return arithm::linearCombineImgImg(a, b, 0.5f, 0.5f);
                   }});
    // Four planes in (inputs 1 to 4: real 1, imaginary 1, real 2, imaginary 2), two out
    // (the given output and image 5).
    ops.push_back({"cmul",
                   [](const ConstImagePtr& a, const ConstImagePtr& b, const ImagePtr& o) {
                       const int size = static_cast<int>(a->getSizeX());
                       arithm::complexMultiplyImgImg(a, b, image(Elem::f32, size, 3), image(Elem::f32, size, 4),
                                                     o, image(Elem::f32, size, 5));
                   },
                   [](const ConstImagePtr& a, const ConstImagePtr& b) {
                       const int size = static_cast<int>(a->getSizeX());
                       return arithm::complexMultiplyImgImg(a, b, image(Elem::f32, size, 3),
                                                            image(Elem::f32, size, 4))
                           .first;
                   }});
#endif
    return ops;
}

vimra::image::eImageBufferType::domain bufferType(Elem e) {
    switch (e) {
        case Elem::u8:
            return vimra::image::eImageBufferType::eUInt8;
        case Elem::i16:
            return vimra::image::eImageBufferType::eInt16;
        case Elem::f32:
            return vimra::image::eImageBufferType::eFloat;
    }
    return vimra::image::eImageBufferType::eUInt8;
}

/// Images are made once per (type, size, role) and shared by all benchmarks.
/// Role 1 and 2 are the inputs (filled from the shared generator), 0 the output.
ImagePtr image(Elem type, int size, std::uint32_t role) {
    static std::map<std::tuple<Elem, int, std::uint32_t>, ImagePtr> cache;
    ImagePtr& img = cache[{type, size, role}];
    if (!img) {
        const auto n = static_cast<std::uint64_t>(size) * static_cast<std::uint64_t>(size);
        img = vimra::image::Image::create2d(bufferType(type), static_cast<std::uint64_t>(size),
                                            static_cast<std::uint64_t>(size));
        if (role != 0) {
            switch (type) {
                case Elem::u8:
                    vimra::bench::fillU8(img->plane<std::uint8_t>(), n, role);
                    break;
                case Elem::i16:
                    vimra::bench::fillI16(img->plane<std::int16_t>(), n, role);
                    break;
                case Elem::f32:
                    vimra::bench::fillF32(img->plane<float>(), n, role);
                    break;
            }
        }
    }
    return img;
}

/// The operation's arithmetic on one pixel, for results that are in range.
std::optional<double> expected(const std::string& op, double a, double b, Elem type) {
    if (type == Elem::f32) {
        const float x = static_cast<float>(a), y = static_cast<float>(b);
        if (op == "add") return x + y;
        if (op == "subtract") return x - y;
        if (op == "multiply") return x * y;
        if (op == "divide") return y == 0.0f ? 0.0f : x / y;
        if (op == "abs") return std::fabs(x);
        if (op == "min") return std::min(x, y);
        if (op == "max") return std::max(x, y);
        if (op == "blend") {
            const float w = vimra::bench::s_blendWeight;
            return y * (1.0f - w) + x * w;
        }
        return std::nullopt;
    }
    double r = 0;
    if (op == "add") {
        r = a + b;
    } else if (op == "subtract") {
        r = a - b;
    } else if (op == "multiply") {
        r = a * b;
    } else if (op == "divide") {
        r = b == 0 ? 0 : std::trunc(a / b);
    } else if (op == "abs") {
        r = std::fabs(a);
    } else if (op == "min") {
        r = std::min(a, b);
    } else if (op == "max") {
        r = std::max(a, b);
    } else if (op == "lincomb") {
        r = std::trunc(a * 0.5 + b * 0.5 + 0.5);  // halves away from zero (the sum is never negative)
    } else {
        return std::nullopt;
    }
    const double lo = type == Elem::u8 ? 0 : -32768, hi = type == Elem::u8 ? 255 : 32767;
    if (r < lo || r > hi) return std::nullopt;  // out of range: kernels differ by design
    return r;
}

/// Empty when `out` holds op(in1, in2) at a spread of pixels, else what is wrong.
std::string checkPixels(const std::string& op, Elem type, const vimra::image::BaseImage& in1,
                        const vimra::image::BaseImage& in2, const vimra::image::BaseImage& out) {
    const std::uint64_t sx = out.getSizeX(), sy = out.getSizeY();
    for (std::uint64_t k = 0; k < 64; ++k) {
        const std::uint64_t x = (k * 37) % sx, y = (k * sy) / 64;
        auto want = expected(op, in1.getValue(x, y), in2.getValue(x, y), type);
        if (op == "cmul") {  // the real part: c*a - b*d
            const int size = static_cast<int>(sx);
            const float a = static_cast<float>(in1.getValue(x, y)), b = static_cast<float>(in2.getValue(x, y));
            const float c = static_cast<float>(image(Elem::f32, size, 3)->getValue(x, y));
            const float d = static_cast<float>(image(Elem::f32, size, 4)->getValue(x, y));
            const float ca = c * a, bd = b * d;
            want = ca - bd;
            // The fused AVX-512 kernel rounds b*d into the difference: a few units of
            // the last place of the larger product.
            const double ulp = std::max(std::fabs(ca), std::fabs(bd)) * 0x1p-22;
            if (std::fabs(out.getValue(x, y) - *want) <= ulp) continue;
        }
        if (want && out.getValue(x, y) != *want) {
            return "wrong result at (" + std::to_string(x) + ", " + std::to_string(y) +
                   "): " + std::to_string(out.getValue(x, y)) + " instead of " +
                   std::to_string(*want);
        }
    }
    return {};
}

/// How a run stores its output: as the library decides, or forced to plain stores
/// (the "/stores:plain" rows, which show what streaming buys in the same run).
using vimra::processor::eStreamingStores;

void run(benchmark::State& state, const Operation& op, const Workload& w, int threads,
         vimra::eInstructionSet::domain isa, bool createForm, eStreamingStores::domain stores) {
    vimra::core::limitInstructionSets(isa);
    vimra::processor::setStreamingStores(stores);
    tbb::global_control cap(tbb::global_control::max_allowed_parallelism,
                            static_cast<std::size_t>(threads));
    const ConstImagePtr in1 = image(w.type, w.size, 1);
    const ConstImagePtr in2 = vimra::bench::isUnary(w.op) ? in1 : image(w.type, w.size, 2);
    const ImagePtr out = image(w.type, w.size, 0);
    try {
        out->fill(0);  // earlier benchmarks may have left this operation's result there
        ImagePtr checked = out;
        if (createForm) {
            checked = op.create(in1, in2);
        } else {
            op.given(in1, in2, out);
        }
        const std::string fault = checkPixels(w.op, w.type, *in1, *in2, *checked);
        if (!fault.empty()) state.SkipWithError(fault.c_str());
    } catch (const std::exception& e) {
        state.SkipWithError((std::string("exception: ") + e.what()).c_str());
    }
    if (!state.error_occurred()) {
        for (auto _ : state) {
            if (createForm) {
                ImagePtr fresh = op.create(in1, in2);
                benchmark::DoNotOptimize(fresh.get());
            } else {
                op.given(in1, in2, out);
            }
            benchmark::ClobberMemory();
        }
    }
    vimra::core::limitInstructionSets(vimra::eInstructionSet::eAVX512);
    vimra::processor::setStreamingStores(eStreamingStores::eAuto);
    // What the library chose for these calls: 1 streaming stores, 0 plain.
    const double written = static_cast<double>(w.size) * w.size * static_cast<double>(vimra::bench::elemBytes(w.type));
    state.counters["streaming"] =
        stores == eStreamingStores::eOff ? 0.0
                                         : (vimra::processor::chooseStreaming(static_cast<std::uint64_t>(written)) ? 1.0 : 0.0);
    state.SetBytesProcessed(static_cast<std::int64_t>(vimra::bench::bytesPerCall(w) *
                                                      static_cast<double>(state.iterations())));
}

void add(const std::string& name, const Operation& op, const Workload& w, int threads,
         vimra::eInstructionSet::domain isa, bool createForm,
         eStreamingStores::domain stores = eStreamingStores::eAuto) {
    benchmark::RegisterBenchmark(name.c_str(), run, op, w, threads, isa, createForm, stores)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    using vimra::eInstructionSet;
    const std::vector<Operation> ops = operations();
    std::string opNames;
    for (const Operation& op : ops) opNames += (opNames.empty() ? "" : ",") + op.name;
    benchmark::AddCustomContext("operations", opNames);

    const eInstructionSet::domain sets[] = {eInstructionSet::eStandard, eInstructionSet::eSSE2,
                                            eInstructionSet::eAVX, eInstructionSet::eAVX2,
                                            eInstructionSet::eAVX512};
    std::string offered;
    for (const auto set : sets) {
        if (vimra::core::isSupportedByProcessor(set)) {
            offered +=
                (offered.empty() ? "" : ",") + std::string(vimra::core::instructionSetName(set));
        }
    }
    benchmark::AddCustomContext("instruction_sets", offered);
    benchmark::AddCustomContext("streaming_cache_bytes",
                                std::to_string(vimra::processor::getStreamingCacheBytes()));

    for (const Workload& w : vimra::bench::workloads()) {
        const Operation* op = nullptr;
        for (const Operation& candidate : ops) {
            if (candidate.name == w.op) op = &candidate;
        }
        if (op == nullptr) continue;
        for (const int threads : vimra::bench::threadCounts()) {
            const std::string name = vimra::bench::benchName("ours", w, threads);
            add(name + vimra::bench::isaTag("best"), *op, w, threads, eInstructionSet::eAVX512,
                false);
            if (w.createForm) {
                add(name + vimra::bench::isaTag("best") + "/form:create", *op, w, threads,
                    eInstructionSet::eAVX512, true);
            }
            if (!w.isaSweep) continue;
            add(name + vimra::bench::isaTag("best") + "/stores:plain", *op, w, threads, eInstructionSet::eAVX512,
                false, eStreamingStores::eOff);
            for (const auto set : sets) {
                if (!vimra::core::isSupportedByProcessor(set)) continue;
                // Only float has an AVX kernel; capped at AVX, other types run SSE2's.
                if (set == eInstructionSet::eAVX && w.type != Elem::f32) continue;
                add(name + vimra::bench::isaTag(vimra::core::instructionSetName(set)), *op, w,
                    threads, set, false);
            }
        }
    }

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
