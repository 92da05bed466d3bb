#pragma once

// Streaming (non-temporal) stores for large outputs.
//
// A plain store first reads its cache line (write-allocate) and leaves the line
// in the cache; a streaming store sends the data to memory without either. On an
// output too large to stay in the cache that saves a third of the memory traffic
// of a two-input operation; on a small one it evicts data the next operation would
// have found in the cache. The choice is made once per run, from the bytes the run
// writes, by the level-1 processor that sees every output, and reaches every kernel
// through KernelArgs::streaming. It never changes a result, only how it is stored.

#include <cstdint>

namespace vimra::processor {

/// Process-wide override of the choice, for tests and benchmarks.
///   eAuto  decided per run by streamingWanted() (the default)
///   eOn    every run streams
///   eOff   no run streams
struct eStreamingStores {
    enum domain { eAuto = 0, eOn = 1, eOff = 2 };
};
void setStreamingStores(eStreamingStores::domain mode);
eStreamingStores::domain getStreamingStores();

/// The last-level cache size the processor reports (read once at start-up),
/// 0 when it reports none.
std::uint64_t lastLevelCacheBytes();

/// The cache the rule counts on: the last-level cache, but no more than
/// s_cachePerThreadCap per hardware thread. Virtual machines report the whole
/// host socket's cache (hundreds of MiB) to a few processors, of which one core
/// reaches only its own slice; no current x86 core has more than this cap.
inline constexpr std::uint64_t s_cachePerThreadCap = std::uint64_t{8} << 20;
std::uint64_t usableCacheBytes(std::uint64_t lastLevelCache, unsigned hardwareThreads);

/// The cache size the automatic choice compares with: usableCacheBytes() of
/// this machine, unless setStreamingCacheBytes() gave another (0 restores it).
void setStreamingCacheBytes(std::uint64_t bytes);
std::uint64_t getStreamingCacheBytes();

/// The rule: stream when a run writes more than half of `cacheBytes`. The run
/// reads at least as much as it writes, so its output then cannot stay in the
/// cache until the next operation reads it, and keeping it there buys nothing.
bool streamingWanted(std::uint64_t bytesWritten, std::uint64_t cacheBytes);

/// The choice for a run writing `bytesWritten`, under the current override.
bool chooseStreaming(std::uint64_t bytesWritten);

}  // namespace vimra::processor
