// OpenCV peer: the workloads of bench/BenchCommon.h with cv::add, cv::subtract,
// cv::multiply, cv::divide, cv::absdiff(x, 0), cv::min, cv::max and
// cv::addWeighted (for "lincomb"), on the same input pixels,
// preallocated outputs and thread counts (cv::setNumThreads) as our benchmarks.
//
// Where OpenCV computes something else (saturation instead of wrap-around,
// rounding instead of truncation) the work is still the same: one pass that
// reads the inputs and writes the output. bench/report.py prints these notes.

#include "BenchCommon.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>

namespace {

using vimra::bench::Elem;
using vimra::bench::Workload;

int cvType(Elem e) {
    switch (e) {
        case Elem::u8:
            return CV_8UC1;
        case Elem::i16:
            return CV_16SC1;
        case Elem::f32:
            return CV_32FC1;
    }
    throw std::logic_error("unknown element type");
}

/// Inputs are made once per (type, size, seed) and shared by all benchmarks.
const cv::Mat& input(Elem type, int size, std::uint32_t seed) {
    static std::map<std::tuple<Elem, int, std::uint32_t>, cv::Mat> cache;
    cv::Mat& m = cache[{type, size, seed}];
    if (m.empty()) {
        m.create(size, size, cvType(type));
        const auto n = static_cast<std::uint64_t>(size) * static_cast<std::uint64_t>(size);
        switch (type) {
            case Elem::u8:
                vimra::bench::fillU8(m.ptr<std::uint8_t>(), n, seed);
                break;
            case Elem::i16:
                vimra::bench::fillI16(m.ptr<std::int16_t>(), n, seed);
                break;
            case Elem::f32:
                vimra::bench::fillF32(m.ptr<float>(), n, seed);
                break;
        }
    }
    return m;
}

using OpFn = void (*)(const cv::Mat& a, const cv::Mat& b, cv::Mat& out);

OpFn opFunction(const std::string& op) {
    if (op == "add")
        return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::add(a, b, out); };
    if (op == "subtract") {
        return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::subtract(a, b, out); };
    }
    if (op == "multiply") {
        return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::multiply(a, b, out); };
    }
    if (op == "divide") {
        return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::divide(a, b, out); };
    }
    if (op == "abs") {
        return [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) {
            cv::absdiff(a, cv::Scalar::all(0), out);
        };
    }
    if (op == "min") return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::min(a, b, out); };
    if (op == "max") return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::max(a, b, out); };
    if (op == "lincomb") {
        return [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::addWeighted(a, 0.5, b, 0.5, 0.0, out); };
    }
    return nullptr;  // no OpenCV counterpart in this harness ("blend", "cmul")
}

void run(benchmark::State& state, const Workload& w, int threads, bool createForm) {
    const OpFn apply = opFunction(w.op);
    cv::setNumThreads(threads);
    const cv::Mat& a = input(w.type, w.size, 1);
    const cv::Mat& b = vimra::bench::isUnary(w.op) ? a : input(w.type, w.size, 2);
    cv::Mat out(w.size, w.size, cvType(w.type), cv::Scalar::all(0));  // touched before timing
    for (auto _ : state) {
        if (createForm) {
            cv::Mat fresh;
            apply(a, b, fresh);
            benchmark::DoNotOptimize(fresh.data);
        } else {
            apply(a, b, out);
            benchmark::DoNotOptimize(out.data);
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(vimra::bench::bytesPerCall(w) *
                                                      static_cast<double>(state.iterations())));
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::AddCustomContext("opencv_version", CV_VERSION);
    benchmark::AddCustomContext("opencv_ipp", cv::ipp::useIPP() ? cv::ipp::getIppVersion() : "off");
    benchmark::AddCustomContext(
        "opencv_simd", cv::checkHardwareSupport(CV_CPU_AVX2) ? "AVX2 available" : "no AVX2");

    for (const Workload& w : vimra::bench::workloads()) {
        if (opFunction(w.op) == nullptr) continue;
        for (const int threads : vimra::bench::threadCounts()) {
            const std::string name = vimra::bench::benchName("opencv", w, threads);
            benchmark::RegisterBenchmark(name.c_str(), run, w, threads, false)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            if (w.createForm) {
                const std::string created = name + "/form:create";
                benchmark::RegisterBenchmark(created.c_str(), run, w, threads, true)
                    ->UseRealTime()
                    ->Unit(benchmark::kMicrosecond);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
