#pragma once

// What one GPU thread computes, as a function the host compiler also builds, so
// that the mapping of threads to pixels and of grid layers to planes is tested
// on any machine: thread (x, y) of grid layer L computes pixel (x, y) of plane L
// (planes counted z fastest, then c, then t), through the same per-pixel
// composition as the portable kernels.

#include "../Compositions.h"

#include <vimra/gpu/GpuLaunch.h>

#include <cstdint>
#include <utility>

namespace vimra::imaproc::arithm::kernel {

/// The plane-address arrays of one launch, inputs then outputs, each indexed by
/// grid layer (in device memory when launched).
struct PlaneTables {
    static constexpr int s_max = 6;
    const void* const* table[s_max] = {};
};

template <class T, std::size_t K, int Inputs>
VIMRA_HOST_DEVICE inline auto planeAt(const PlaneTables& planes, std::uint64_t layer) {
    if constexpr (K < static_cast<std::size_t>(Inputs)) {
        return static_cast<const T*>(planes.table[K][layer]);
    } else {
        return static_cast<T*>(const_cast<void*>(planes.table[K][layer]));
    }
}

/// Pixel (x, y) of grid layer `layer`; threads past the image's edge (the grid is
/// rounded up to whole blocks) do nothing.
template <class Arith, class... T, class Op, std::size_t... K>
VIMRA_HOST_DEVICE inline void gpuPixel(const ::vimra::gpu::LauncherInfo& info, const Op& op,
                                       const PlaneTables& planes, std::uint64_t x, std::uint64_t y,
                                       std::uint64_t layer, std::index_sequence<K...>) {
    if (x >= info.sizeX || y >= info.sizeY) return;
    Arith::pixel(op, y * info.sizeX + x, planeAt<T, K, Arith::s_inputs>(planes, layer)...);
}

}  // namespace vimra::imaproc::arithm::kernel
