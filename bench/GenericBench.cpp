// A smaller image over every piece of a larger one: one 512x512 uint16 plane
// added to each plane of a 512x512x256 uint16 volume, and one float plane
// multiplied into each frame of a 256-frame sequence.
//
// Rows, per thread count:
//   ours/...          genericAddImgImg / genericMultiplyImgImg into a preallocated output;
//   shape-limit/...   a plain loop of the same shape (volume read and written, the plane
//                     read from cache), the limit these workloads can reach;
//   opencv/...        cv::add / cv::multiply called once per plane (where OpenCV is built);
//   ours-overhead/... the same number of pieces on 8x8 planes, where nearly all the time
//                     is the cost of the 256 nested runs: "overhead_share" is that cost
//                     over the time of the large call.
// The NumPy peer (np.add(volume, plane, out=...)) is bench/peers/broadcast_numpy.py.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericAddImgImg/GenericAddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericMultiplyImgImg/GenericMultiplyImgImgLvl1.h>

#include "BenchCommon.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#ifdef VIMRA_BENCH_WITH_OPENCV
#include <opencv2/core.hpp>
#endif

#include <chrono>
#include <cstdint>
#include <string>

namespace {

using vimra::image::ConstImagePtr;
using vimra::image::eImageBufferType;
using vimra::image::ImageDescription;
using vimra::image::ImagePtr;
namespace arithm = vimra::imaproc::arithm;

constexpr std::uint64_t s_side = 512, s_planes = 256;

struct Broadcast {
    const char* name;  // "add/u16", "multiply/f32"
    eImageBufferType::domain type;
    bool sequence;  // the pieces are frames of a sequence, not planes of a volume
};
const Broadcast s_broadcasts[] = {{"add/u16", eImageBufferType::eUInt16, false},
                                  {"multiply/f32", eImageBufferType::eFloat, true}};

ImageDescription stack(const Broadcast& b, std::uint64_t side) {
    auto d = ImageDescription::make2d(b.type, side, side);
    if (b.sequence)
        d.temporal = vimra::image::TemporalGeometry::sequence(s_planes);
    else
        d.volume = vimra::image::VolumeGeometry::make3d(s_planes);
    return d;
}

/// The large image, the plane and the output, filled from the harness's generator.
struct Images {
    ImagePtr large, plane, out;
    Images(const Broadcast& b, std::uint64_t side) {
        large = vimra::image::Image::create(stack(b, side));
        plane = vimra::image::Image::create2d(b.type, side, side);
        out = vimra::image::Image::create(stack(b, side));
        const std::uint64_t n = side * side;
        for (std::uint64_t p = 0; p < s_planes; ++p) fill(b, *large, p, n, 1);
        fill(b, *plane, 0, n, 2);
    }
    static void fill(const Broadcast& b, vimra::image::BaseImage& img, std::uint64_t p,
                     std::uint64_t n, std::uint32_t seed) {
        const std::uint64_t z = b.sequence ? 0 : p, t = b.sequence ? p : 0;
        if (b.type == eImageBufferType::eFloat) {
            vimra::bench::fillF32(img.plane<float>(z, 0, t), n,
                                  seed + static_cast<std::uint32_t>(p) * 3);
        } else {
            auto* q = img.plane<std::uint16_t>(z, 0, t);
            for (std::uint64_t i = 0; i < n; ++i)
                q[i] = static_cast<std::uint16_t>(
                    vimra::bench::mix(static_cast<std::uint32_t>(i), seed) >> 16);
        }
    }
    static void* planeOf(const ImagePtr& img, const Broadcast& b, std::uint64_t p) {
        return b.sequence ? img->planeData(0, 0, p) : img->planeData(p, 0, 0);
    }
};

void call(const Broadcast& b, const Images& im) {
    if (b.type == eImageBufferType::eFloat)
        arithm::genericMultiplyImgImg(im.large, im.plane, im.out);
    else
        arithm::genericAddImgImg(im.large, im.plane, im.out);
}

double bytesPerCall(const Broadcast& b, std::uint64_t side) {
    const double plane =
        static_cast<double>(side * side) * (b.type == eImageBufferType::eFloat ? 4 : 2);
    return plane *
           static_cast<double>(2 * s_planes + 1);  // the stack read and written, the plane once
}

void finish(benchmark::State& state, const Broadcast& b) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytesPerCall(b, s_side) *
                                                      static_cast<double>(state.iterations())));
}

void ours(benchmark::State& state, Broadcast b, int threads) {
    tbb::global_control cap(tbb::global_control::max_allowed_parallelism,
                            static_cast<std::size_t>(threads));
    Images im(b, s_side);
    call(b, im);
    for (auto _ : state) {
        call(b, im);
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

/// The pieces' cost: the same 256 nested runs on 8x8 planes, against the large call.
void overhead(benchmark::State& state, Broadcast b, int threads) {
    tbb::global_control cap(tbb::global_control::max_allowed_parallelism,
                            static_cast<std::size_t>(threads));
    Images small(b, 8), large(b, s_side);
    auto seconds = [&](const Images& im, int calls) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < calls; ++i) call(b, im);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
               calls;
    };
    const double whole = seconds(large, 5);
    for (auto _ : state) {
        call(b, small);
        benchmark::ClobberMemory();
    }
    const double perCall = seconds(small, 50);
    state.counters["overhead_share"] = perCall / whole;
}

template <class T, class F>
void planeLoop(const Broadcast& b, const Images& im, F op) {
    const std::uint64_t n = s_side * s_side;
    const T* plane = static_cast<const T*>(im.plane->planeData());
    tbb::parallel_for(std::uint64_t{0}, s_planes, [&](std::uint64_t p) {
        const T* in = static_cast<const T*>(im.planeOf(im.large, b, p));
        T* out = static_cast<T*>(im.planeOf(im.out, b, p));
        for (std::uint64_t i = 0; i < n; ++i) out[i] = op(in[i], plane[i]);
    });
}

void shapeLimit(benchmark::State& state, Broadcast b, int threads) {
    tbb::global_control cap(tbb::global_control::max_allowed_parallelism,
                            static_cast<std::size_t>(threads));
    Images im(b, s_side);
    auto once = [&] {
        if (b.type == eImageBufferType::eFloat)
            planeLoop<float>(b, im, [](float x, float y) { return x * y; });
        else
            planeLoop<std::uint16_t>(b, im, [](std::uint16_t x, std::uint16_t y) {
                return static_cast<std::uint16_t>(x + y);
            });
    };
    once();
    for (auto _ : state) {
        once();
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

#ifdef VIMRA_BENCH_WITH_OPENCV
void opencv(benchmark::State& state, Broadcast b, int threads) {
    cv::setNumThreads(threads);
    Images im(b, s_side);
    const int type = b.type == eImageBufferType::eFloat ? CV_32FC1 : CV_16UC1;
    const int side = static_cast<int>(s_side);
    const std::size_t step = s_side * (b.type == eImageBufferType::eFloat ? 4 : 2);
    const cv::Mat plane(side, side, type, im.plane->planeData(), step);
    auto once = [&] {
        for (std::uint64_t p = 0; p < s_planes; ++p) {
            const cv::Mat in(side, side, type, im.planeOf(im.large, b, p), step);
            cv::Mat out(side, side, type, im.planeOf(im.out, b, p), step);
            if (b.type == eImageBufferType::eFloat)
                cv::multiply(in, plane, out);
            else
                cv::add(in, plane, out);
        }
    };
    once();
    for (auto _ : state) {
        once();
        benchmark::ClobberMemory();
    }
    finish(state, b);
}
#endif

void add(const std::string& name, void (*fn)(benchmark::State&, Broadcast, int), const Broadcast& b,
         int threads) {
    benchmark::RegisterBenchmark(name.c_str(), fn, b, threads)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    for (const Broadcast& b : s_broadcasts)
        for (const int threads : vimra::bench::threadCounts()) {
            const std::string shape =
                std::string("/") + b.name + "/512x512x256/threads:" + std::to_string(threads);
            add("ours" + shape, ours, b, threads);
            add("shape-limit" + shape, shapeLimit, b, threads);
#ifdef VIMRA_BENCH_WITH_OPENCV
            add("opencv-per-plane" + shape, opencv, b, threads);
#endif
            add("ours-overhead" + std::string("/") + b.name +
                    "/8x8x256/threads:" + std::to_string(threads),
                overhead, b, threads);
        }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
