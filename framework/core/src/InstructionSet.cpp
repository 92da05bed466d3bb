#include <vimra/core/InstructionSet.h>

#include <atomic>
#include <cpuid.h>

namespace vimra::core {

namespace {

struct ProcessorFeatures {
    bool sse2 = false, avx = false, avx2 = false, avx512 = false;
};

std::uint64_t readXcr0() {
    std::uint32_t lo = 0, hi = 0;
    // xgetbv with ecx = 0: which register states the operating system saves.
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (std::uint64_t{hi} << 32) | lo;
}

ProcessorFeatures detect() {
    ProcessorFeatures f;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return f;
    f.sse2 = (d & bit_SSE2) != 0;
    const bool osxsave = (c & bit_OSXSAVE) != 0;
    const std::uint64_t xcr0 = osxsave ? readXcr0() : 0;
    const bool ymmSaved = (xcr0 & 0x6) == 0x6;            // SSE and AVX state
    const bool zmmSaved = ymmSaved && (xcr0 & 0xe0) == 0xe0;  // opmask, ZMM0-15 high, ZMM16-31
    f.avx = ymmSaved && (c & bit_AVX) != 0;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
        f.avx2 = f.avx && (b & bit_AVX2) != 0;
        f.avx512 = zmmSaved && (b & bit_AVX512F) != 0 && (b & bit_AVX512BW) != 0 && (b & bit_AVX512VL) != 0 &&
                   (b & bit_AVX512DQ) != 0;
    }
    return f;
}

const ProcessorFeatures& features() {
    static const ProcessorFeatures f = detect();
    return f;
}

std::atomic<int> g_limit{eInstructionSet::eAVX512};
std::atomic<bool> g_gpuActivated{false};

}  // namespace

bool isSupportedByProcessor(eInstructionSet::domain set) {
    const ProcessorFeatures& f = features();
    switch (set) {
        case eInstructionSet::eStandard: return true;
        case eInstructionSet::eSSE2: return f.sse2;
        case eInstructionSet::eAVX: return f.avx;
        case eInstructionSet::eAVX2: return f.avx2;
        case eInstructionSet::eAVX512: return f.avx512;
    }
    return false;
}

bool isAvailable(eInstructionSet::domain set) {
    return static_cast<int>(set) <= g_limit.load(std::memory_order_relaxed) && isSupportedByProcessor(set);
}

void limitInstructionSets(eInstructionSet::domain highest) { g_limit.store(highest, std::memory_order_relaxed); }

eInstructionSet::domain getInstructionSetLimit() {
    return static_cast<eInstructionSet::domain>(g_limit.load(std::memory_order_relaxed));
}

const char* instructionSetName(eInstructionSet::domain set) {
    switch (set) {
        case eInstructionSet::eStandard: return "standard";
        case eInstructionSet::eSSE2: return "SSE2";
        case eInstructionSet::eAVX: return "AVX";
        case eInstructionSet::eAVX2: return "AVX2";
        case eInstructionSet::eAVX512: return "AVX-512";
    }
    return "unknown";
}

bool isGpuSupportActivated() { return g_gpuActivated.load(std::memory_order_relaxed); }
void setGpuSupportActivated(bool activated) { g_gpuActivated.store(activated, std::memory_order_relaxed); }

}  // namespace vimra::core
