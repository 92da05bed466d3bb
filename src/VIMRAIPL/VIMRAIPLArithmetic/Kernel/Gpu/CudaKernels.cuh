#pragma once

// The CUDA kernels and launchers of an operation, written once. An operation's
// kernel file is a stub:
//
//   <Op>Lvl3_cuda.cu    #include "../../Kernel/Gpu/CudaKernels.cuh"
//                       #include "<Op>Arithmetic.h"
//                       VIMRA_ARITHM_CUDA_KERNELS(<Op>)
//
// which defines gpu::<Op>_knl (the kernel, one thread per pixel), gpu::<Op>_knlLauncher
// (b x b x 1 blocks, the grid rounded up, one layer per plane, the default stream,
// synchronised; errors returned, never thrown) and registers one launcher per
// buffer-type combination with <Op>GpuLvl3.

#include "GpuPixel.h"

#include "../KernelFile.h"

#include <cuda_runtime.h>

#include <tuple>

namespace vimra::imaproc::arithm::kernel {

/// The CUDA runtime's text for `e` (after which the error state is cleared).
inline ::vimra::gpu::CudaResult cudaFailure(cudaError_t e) {
    cudaGetLastError();
    return {false, cudaGetErrorString(e)};
}

/// One thread's work inside a kernel; layers beyond one launch's 65535 come in
/// further launches starting at `firstLayer`.
template <class Arith, class... T, class Op>
__device__ inline void pixelThread(const ::vimra::gpu::LauncherInfo& info, const Op& op, const PlaneTables& planes,
                                   std::uint64_t firstLayer) {
    const std::uint64_t x = static_cast<std::uint64_t>(blockIdx.x) * blockDim.x + threadIdx.x;
    const std::uint64_t y = static_cast<std::uint64_t>(blockIdx.y) * blockDim.y + threadIdx.y;
    gpuPixel<Arith, T...>(info, op, planes, x, y, firstLayer + blockIdx.z, std::index_sequence_for<T...>{});
}

/// Launches `launch(grid, block, firstLayer)` over the shape of `info`, then
/// synchronises and reads the error state.
template <class Launch>
::vimra::gpu::CudaResult launchLayers(const ::vimra::gpu::LauncherInfo& info, Launch&& launch) {
    const ::vimra::gpu::LaunchShape shape = ::vimra::gpu::launchShape(info);
    constexpr std::uint64_t maxGridYZ = 65535;
    if (shape.blockX == 0) return {false, "the device's block size is 0"};
    if (shape.gridY > maxGridYZ || shape.gridX > 0x7fffffffu) return {false, "the image is too large for one launch"};
    const dim3 block(shape.blockX, shape.blockY, shape.blockZ);
    for (std::uint64_t first = 0; first < shape.gridZ; first += maxGridYZ) {
        const std::uint64_t layers = shape.gridZ - first < maxGridYZ ? shape.gridZ - first : maxGridYZ;
        launch(dim3(static_cast<unsigned>(shape.gridX), static_cast<unsigned>(shape.gridY),
                    static_cast<unsigned>(layers)),
               block, first);
    }
    const cudaError_t e = cudaDeviceSynchronize();
    if (e != cudaSuccess) return cudaFailure(e);
    const cudaError_t last = cudaGetLastError();
    if (last != cudaSuccess) return cudaFailure(last);
    return {};
}

/// Each operation's named launcher, reached from the generic entry by its arithmetic.
template <class Arith>
struct GpuLauncherOf;

/// The GPU launcher of an arithmetic for parameter types P...: the plane tables
/// copied to the device, the operation bound to its parameters, the named launcher.
template <class Arith, eInstructionSet::domain S>
struct GpuEntry {
    template <class... P>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return runTyped(args, static_cast<StripTuple<typename Arith::Signature, P...>*>(nullptr));
    }

private:
    template <class Sig, class... P>
    struct StripTupleOf;
    template <class... Strips, class... Q>
    struct StripTupleOf<Signature<Strips...>, Q...> {
        using type = std::tuple<StripType<Strips, Q...>...>;
    };
    template <class Sig, class... P>
    using StripTuple = typename StripTupleOf<Sig, P...>::type;

    template <class... T>
    static processor::ProcessingResult<bool> runTyped(const processor::KernelArgs& args, std::tuple<T...>*) {
        static_assert(sizeof...(T) <= PlaneTables::s_max);
        const auto& info = *static_cast<const ::vimra::gpu::LauncherInfo*>(args.launch);
        const std::uint64_t layers = info.sizeZ * info.sizeC * info.sizeT;
        constexpr std::size_t n = sizeof...(T);
        std::vector<const void*> host(n * layers);
        for (std::size_t k = 0; k < n; ++k) {
            const void* const* coll = k < static_cast<std::size_t>(Arith::s_inputs)
                                          ? static_cast<const void* const*>(args.in[k])
                                          : static_cast<const void* const*>(args.out[k - Arith::s_inputs]);
            for (std::uint64_t l = 0; l < layers; ++l) host[k * layers + l] = coll[l];
        }
        void* device = nullptr;
        cudaError_t e = cudaMalloc(&device, host.size() * sizeof(void*));
        if (e != cudaSuccess) return failed(cudaFailure(e));
        e = cudaMemcpy(device, host.data(), host.size() * sizeof(void*), cudaMemcpyHostToDevice);
        if (e != cudaSuccess) {
            cudaFree(device);
            return failed(cudaFailure(e));
        }
        PlaneTables planes;
        for (std::size_t k = 0; k < n; ++k) planes.table[k] = static_cast<const void* const*>(device) + k * layers;
        const auto op = bindStrip<Arith, eInstructionSet::eStandard, T...>(args.params);
        const ::vimra::gpu::CudaResult r =
            GpuLauncherOf<Arith>::template launch<std::remove_const_t<decltype(op)>, T...>(&info, op, planes);
        cudaFree(device);
        return r.success ? processor::ProcessingResult<bool>{true, true} : failed(r);
    }
    static processor::ProcessingResult<bool> failed(const ::vimra::gpu::CudaResult& r) {
        return processor::ProcessingResult<bool>::failure(r.message);
    }
};

}  // namespace vimra::imaproc::arithm::kernel

#define VIMRA_ARITHM_CUDA_KERNELS(Op)                                                                          \
    namespace vimra::imaproc::arithm {                                                                         \
    class Op##GpuLvl3;                                                                                         \
    namespace gpu {                                                                                            \
    template <class Bound, class... T>                                                                         \
    __global__ void Op##_knl(::vimra::gpu::LauncherInfo info, Bound op, kernel::PlaneTables planes,            \
                             std::uint64_t firstLayer) {                                                       \
        kernel::pixelThread<Op##Arithmetic, T...>(info, op, planes, firstLayer);                               \
    }                                                                                                          \
    template <class Bound, class... T>                                                                         \
    ::vimra::gpu::CudaResult Op##_knlLauncher(const ::vimra::gpu::LauncherInfo* info, const Bound& op,         \
                                              const kernel::PlaneTables& planes) {                             \
        return kernel::launchLayers(*info, [&](dim3 grid, dim3 block, std::uint64_t first) {                   \
            Op##_knl<Bound, T...><<<grid, block>>>(*info, op, planes, first);                                  \
        });                                                                                                    \
    }                                                                                                          \
    }                                                                                                          \
    template <>                                                                                                \
    struct kernel::GpuLauncherOf<Op##Arithmetic> {                                                             \
        template <class Bound, class... T>                                                                     \
        static ::vimra::gpu::CudaResult launch(const ::vimra::gpu::LauncherInfo* info, const Bound& op,        \
                                               const kernel::PlaneTables& planes) {                            \
            return gpu::Op##_knlLauncher<Bound, T...>(info, op, planes);                                       \
        }                                                                                                      \
    };                                                                                                         \
    namespace {                                                                                                \
    const ::vimra::processor::KernelTableRegistration g_##Op##GpuKernels(                                      \
        &kernel::functionSelectorOf<Op##GpuLvl3>, ::vimra::eInstructionSet::eStandard,                         \
        VIMRA_ARITHM_KERNEL_TABLE(Op, kernel::GpuEntry, ::vimra::eInstructionSet::eStandard)::s_data,          \
        VIMRA_ARITHM_KERNEL_TABLE(Op, kernel::GpuEntry, ::vimra::eInstructionSet::eStandard)::s_signature);    \
    }                                                                                                          \
    }
