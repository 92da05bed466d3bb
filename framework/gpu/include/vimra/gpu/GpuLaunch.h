#pragma once

// What a CUDA launcher receives and returns. Plain data shared by host code and
// device code (kernels take LauncherInfo by value), so no CUDA header is needed.

#include <cstdint>

namespace vimra::gpu {

/// Launch information, passed by value to every kernel.
struct LauncherInfo {
    std::int32_t multiProcessorCount = 0;
    std::int32_t maxThreadsPerMultiProcessor = 0;
    std::int32_t maxThreadsPerBlock = 0;
    std::int32_t blockSize2d = 0;  ///< low 16 bits: the side of a square block
    std::uint64_t reserved = 0;    ///< always 0
    std::uint64_t sizeX = 0, sizeY = 0, sizeZ = 0, sizeC = 0, sizeT = 0;
};
static_assert(sizeof(LauncherInfo) == 64, "kernels read LauncherInfo as 64 bytes");

/// A launcher's outcome: never an exception. `message` is "" on success, else the
/// CUDA error text (static storage owned by the CUDA runtime).
struct CudaResult {
    bool success = true;
    const char* message = "";
};

/// Threads and blocks of one launch: b x b x 1 threads per block, a grid covering
/// x and y rounded up, and one grid layer per plane of every channel of every frame.
struct LaunchShape {
    std::uint32_t blockX = 0, blockY = 0, blockZ = 0;
    std::uint64_t gridX = 0, gridY = 0, gridZ = 0;
};

constexpr std::uint64_t ceilDiv(std::uint64_t n, std::uint64_t d) { return n / d + (n % d != 0 ? 1 : 0); }

/// The shape every launcher uses; a block side of 0 gives an empty shape (no launch).
constexpr LaunchShape launchShape(const LauncherInfo& info) {
    const std::uint32_t b = static_cast<std::uint32_t>(info.blockSize2d) & 0xFFFFu;
    if (b == 0) return {};
    return {b, b, 1, ceilDiv(info.sizeX, b), ceilDiv(info.sizeY, b), info.sizeZ * info.sizeC * info.sizeT};
}

}  // namespace vimra::gpu
