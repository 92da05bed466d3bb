// Memory bandwidth probe: STREAM-style copy (c = a) and add (c = a + b) over
// arrays of doubles, run by a team of 1, 2 (and all) threads that each own one
// contiguous slice. Bytes counted are those read plus those written, as STREAM
// counts them (no write-allocate traffic), which is how the image benchmarks
// count theirs.
//
// Each kernel runs twice: with plain stores, which first read the destination
// line into the cache (write-allocate: a third, uncounted transfer), and with
// streaming (non-temporal) stores, which do not. The faster of the two is what
// the memory system allows; the gap between them is what a kernel with plain
// stores leaves on the table on large images.
//
// Sizes: "dram" arrays far larger than the last-level cache (four times it, at
// least 256 MiB each: the machine's memory bandwidth), and 16, 32 and 64 MiB
// arrays, the footprints of one 4096x4096 image of 1-, 2- and 4-byte pixels,
// whose figures tell how much a workload of that footprint gains from a large
// last-level cache.
//
// This file is compiled with -fno-tree-loop-distribute-patterns so that the copy
// loop stays a plain load/store loop instead of becoming a call to memcpy (which
// picks its own store kind by size). The loops use the x86-64 baseline (SSE2).
//
// Extra flag: --probe_dram_mib=N sets the size of each "dram" array.

#include "BenchCommon.h"

#include <benchmark/benchmark.h>

#include <emmintrin.h>
#include <unistd.h>

#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using vimra::bench::threadCounts;

/// Threads that run one job together: the caller is member 0, the others wait
/// on a barrier between jobs, so a timed pass costs no thread creation.
class ThreadTeam {
  public:
    explicit ThreadTeam(int size) : m_size(size), m_start(size), m_end(size) {
        for (int index = 1; index < size; ++index) {
            m_workers.emplace_back([this, index] {
                for (;;) {
                    m_start.arrive_and_wait();
                    if (m_stop) return;
                    m_job(index);
                    m_end.arrive_and_wait();
                }
            });
        }
    }
    ~ThreadTeam() {
        m_stop = true;
        m_start.arrive_and_wait();
        for (auto& worker : m_workers) worker.join();
    }
    ThreadTeam(const ThreadTeam&) = delete;
    ThreadTeam& operator=(const ThreadTeam&) = delete;

    int size() const { return m_size; }

    /// Runs job(index) on every member and returns when all are done.
    void run(const std::function<void(int)>& job) {
        m_job = job;
        m_start.arrive_and_wait();
        m_job(0);
        m_end.arrive_and_wait();
    }

  private:
    int m_size;
    std::barrier<> m_start;
    std::barrier<> m_end;
    std::function<void(int)> m_job;
    bool m_stop = false;  // written before the start barrier, read after it
    std::vector<std::thread> m_workers;
};

/// [begin, end) of member `index` of `count` over n elements, cut at cache lines.
std::pair<std::size_t, std::size_t> slice(std::size_t n, int index, int count) {
    constexpr std::size_t line = 64 / sizeof(double);
    const std::size_t lines = (n + line - 1) / line;
    const std::size_t begin = std::min(n, lines * index / count * line);
    const std::size_t end = std::min(n, lines * (index + 1) / count * line);
    return {begin, end};
}

struct FreeDeleter {
    void operator()(double* p) const { std::free(p); }
};
using Array = std::unique_ptr<double[], FreeDeleter>;

Array allocate(std::size_t n) {
    void* p = std::aligned_alloc(4096, (n * sizeof(double) + 4095) / 4096 * 4096);
    if (p == nullptr) throw std::runtime_error("bandwidth probe: out of memory");
    return Array(static_cast<double*>(p));
}

/// Three arrays of one size, first touched by the team that uses them.
struct Arrays {
    std::size_t n = 0;
    Array a, b, c;
};

std::map<std::size_t, std::unique_ptr<ThreadTeam>>& teams() {
    static std::map<std::size_t, std::unique_ptr<ThreadTeam>> all;
    return all;
}

ThreadTeam& team(int threads) {
    auto& slot = teams()[static_cast<std::size_t>(threads)];
    if (!slot) slot = std::make_unique<ThreadTeam>(threads);
    return *slot;
}

Arrays& arrays(std::size_t bytesPerArray) {
    static std::map<std::size_t, std::unique_ptr<Arrays>> all;
    auto& slot = all[bytesPerArray];
    if (!slot) {
        slot = std::make_unique<Arrays>();
        Arrays& s = *slot;
        s.n = bytesPerArray / sizeof(double);
        s.a = allocate(s.n);
        s.b = allocate(s.n);
        s.c = allocate(s.n);
        ThreadTeam& init = team(static_cast<int>(std::thread::hardware_concurrency()));
        init.run([&s, &init](int index) {
            const auto [begin, end] = slice(s.n, index, init.size());
            for (std::size_t i = begin; i < end; ++i) {
                s.a[i] = 1.0 + static_cast<double>(i % 1024);
                s.b[i] = 2.0;
                s.c[i] = 0.0;
            }
        });
    }
    return *slot;
}

void copyPass(const double* __restrict a, double* __restrict c, std::size_t begin,
              std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) c[i] = a[i];
}

void addPass(const double* __restrict a, const double* __restrict b, double* __restrict c,
             std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) c[i] = a[i] + b[i];
}

// Slices start at cache lines, so [begin, end) is 16-byte aligned but for an odd tail.
void copyPassStreaming(const double* a, double* c, std::size_t begin, std::size_t end) {
    std::size_t i = begin;
    for (; i + 2 <= end; i += 2) _mm_stream_pd(c + i, _mm_load_pd(a + i));
    for (; i < end; ++i) c[i] = a[i];
    _mm_sfence();
}

void addPassStreaming(const double* a, const double* b, double* c, std::size_t begin,
                      std::size_t end) {
    std::size_t i = begin;
    for (; i + 2 <= end; i += 2) {
        _mm_stream_pd(c + i, _mm_add_pd(_mm_load_pd(a + i), _mm_load_pd(b + i)));
    }
    for (; i < end; ++i) c[i] = a[i] + b[i];
    _mm_sfence();
}

enum class Kernel { copy, add };
enum class Stores { plain, streaming };

void probe(benchmark::State& state, Kernel kernel, Stores stores, std::size_t bytesPerArray,
           int threads) {
    Arrays& s = arrays(bytesPerArray);
    ThreadTeam& t = team(threads);
    const std::function<void(int)> pass = [&s, &t, kernel, stores](int index) {
        const auto [begin, end] = slice(s.n, index, t.size());
        const double* a = s.a.get();
        const double* b = s.b.get();
        double* c = s.c.get();
        if (kernel == Kernel::add) {
            if (stores == Stores::plain) {
                addPass(a, b, c, begin, end);
            } else {
                addPassStreaming(a, b, c, begin, end);
            }
        } else if (stores == Stores::plain) {
            copyPass(a, c, begin, end);
        } else {
            copyPassStreaming(a, c, begin, end);
        }
    };
    for (auto _ : state) {
        t.run(pass);
        benchmark::ClobberMemory();
    }
    const double bytes =
        static_cast<double>(s.n * sizeof(double)) * (kernel == Kernel::add ? 3 : 2);
    state.SetBytesProcessed(
        static_cast<std::int64_t>(bytes * static_cast<double>(state.iterations())));
}

std::size_t lastLevelCacheBytes() {
    const long llc = sysconf(_SC_LEVEL3_CACHE_SIZE);
    if (llc > 0) return static_cast<std::size_t>(llc);
    const long l2 = sysconf(_SC_LEVEL2_CACHE_SIZE);
    return l2 > 0 ? static_cast<std::size_t>(l2) : std::size_t{32} << 20;
}

/// Removes --probe_dram_mib=N from argv and returns N (0 when absent).
std::size_t takeDramFlag(int& argc, char** argv) {
    const char* prefix = "--probe_dram_mib=";
    std::size_t mib = 0;
    int out = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], prefix, std::strlen(prefix)) == 0) {
            mib = std::strtoull(argv[i] + std::strlen(prefix), nullptr, 10);
        } else {
            argv[out++] = argv[i];
        }
    }
    argc = out;
    return mib;
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t llc = lastLevelCacheBytes();
    std::size_t dramMib = takeDramFlag(argc, argv);
    if (dramMib == 0) dramMib = std::max<std::size_t>(256, 4 * llc >> 20);
    const std::size_t dramBytes = dramMib << 20;

    benchmark::AddCustomContext("llc_bytes", std::to_string(llc));
    benchmark::AddCustomContext("probe_dram_array_mib", std::to_string(dramMib));

    struct Size {
        std::string label;
        std::size_t bytes;
    };
    const std::vector<Size> sizes = {
        {"dram", dramBytes}, {"16MiB", 16u << 20}, {"32MiB", 32u << 20}, {"64MiB", 64u << 20}};
    for (const Size& size : sizes) {
        for (const Kernel kernel : {Kernel::copy, Kernel::add}) {
            for (const Stores stores : {Stores::plain, Stores::streaming}) {
                for (const int threads : threadCounts()) {
                    const std::string name = std::string("probe/") +
                                             (kernel == Kernel::add ? "add" : "copy") +
                                             (stores == Stores::streaming ? "-nt" : "") + "/" +
                                             size.label + "/threads:" + std::to_string(threads);
                    benchmark::RegisterBenchmark(name.c_str(), probe, kernel, stores, size.bytes,
                                                 threads)
                        ->UseRealTime()
                        ->Unit(benchmark::kMillisecond);
                }
            }
        }
    }

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    teams().clear();
    return 0;
}
