#include <vimra/processor/Streaming.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace vimra::processor {

namespace {

std::uint64_t readLastLevelCache() {
    // glibc answers from the processor's cache descriptors (cpuid).
    for (const int name : {_SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE}) {
        const long bytes = sysconf(name);
        if (bytes > 0) return static_cast<std::uint64_t>(bytes);
    }
    return 0;
}

// Read at load time, so that no run pays for it.
const std::uint64_t g_lastLevelCache = readLastLevelCache();
const std::uint64_t g_machineCache = usableCacheBytes(g_lastLevelCache, std::thread::hardware_concurrency());

std::atomic<int> g_mode{eStreamingStores::eAuto};
std::atomic<std::uint64_t> g_cacheOverride{0};

}  // namespace

void setStreamingStores(eStreamingStores::domain mode) { g_mode.store(mode, std::memory_order_relaxed); }

eStreamingStores::domain getStreamingStores() {
    return static_cast<eStreamingStores::domain>(g_mode.load(std::memory_order_relaxed));
}

std::uint64_t lastLevelCacheBytes() { return g_lastLevelCache; }

std::uint64_t usableCacheBytes(std::uint64_t lastLevelCache, unsigned hardwareThreads) {
    const std::uint64_t cap = s_cachePerThreadCap * std::max(1u, hardwareThreads);
    // A processor that reports no cache: assume the cap, which streams only large outputs.
    return lastLevelCache == 0 ? cap : std::min(lastLevelCache, cap);
}

void setStreamingCacheBytes(std::uint64_t bytes) { g_cacheOverride.store(bytes, std::memory_order_relaxed); }

std::uint64_t getStreamingCacheBytes() {
    const std::uint64_t o = g_cacheOverride.load(std::memory_order_relaxed);
    return o != 0 ? o : g_machineCache;
}

bool streamingWanted(std::uint64_t bytesWritten, std::uint64_t cacheBytes) { return bytesWritten > cacheBytes / 2; }

bool chooseStreaming(std::uint64_t bytesWritten) {
    switch (getStreamingStores()) {
        case eStreamingStores::eOn: return true;
        case eStreamingStores::eOff: return false;
        case eStreamingStores::eAuto: break;
    }
    return streamingWanted(bytesWritten, getStreamingCacheBytes());
}

}  // namespace vimra::processor
