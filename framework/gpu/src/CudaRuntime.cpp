#include "CudaRuntime.h"

#if VIMRA_HAS_CUDA_RUNTIME
#include <cuda_runtime_api.h>
#endif

namespace vimra::gpu::runtime {

#if VIMRA_HAS_CUDA_RUNTIME

namespace {
bool ok(cudaError_t e, std::string& error) {
    if (e == cudaSuccess) return true;
    error = cudaGetErrorString(e);
    cudaGetLastError();  // clear the sticky-free error state for the next call
    return false;
}
}  // namespace

DeviceQuery queryDevices() {
    DeviceQuery q;
    int count = 0;
    if (!ok(cudaGetDeviceCount(&count), q.reason)) return q;
    if (count == 0) q.reason = "no CUDA device found";
    for (int i = 0; i < count; ++i) {
        cudaDeviceProp p{};
        std::string error;
        if (!ok(cudaGetDeviceProperties(&p, i), error)) continue;
        GpuDeviceDescription d;
        d.index = i;
        d.name = p.name;
        d.computeCapabilityMajor = p.major;
        d.computeCapabilityMinor = p.minor;
        d.multiProcessorCount = p.multiProcessorCount;
        d.maxThreadsPerMultiProcessor = p.maxThreadsPerMultiProcessor;
        d.maxThreadsPerBlock = p.maxThreadsPerBlock;
        d.blockSize2d = blockSize2dFor(p.maxThreadsPerBlock);
        d.totalMemoryBytes = p.totalGlobalMem;
        q.devices.push_back(d);
    }
    return q;
}

void* allocateZeroed(int device, std::size_t bytes, std::string& error) {
    void* p = nullptr;
    if (!ok(cudaSetDevice(device), error) || !ok(cudaMalloc(&p, bytes), error)) return nullptr;
    if (!ok(cudaMemset(p, 0, bytes), error)) {
        cudaFree(p);
        return nullptr;
    }
    return p;
}

void release(int device, void* memory) noexcept {
    if (!memory) return;
    if (cudaSetDevice(device) == cudaSuccess) cudaFree(memory);
}

bool copyToDevice(int device, void* dst, const void* src, std::size_t bytes, std::string& error) {
    return ok(cudaSetDevice(device), error) && ok(cudaMemcpy(dst, src, bytes, cudaMemcpyHostToDevice), error);
}

bool copyToHost(int device, void* dst, const void* src, std::size_t bytes, std::string& error) {
    return ok(cudaSetDevice(device), error) && ok(cudaMemcpy(dst, src, bytes, cudaMemcpyDeviceToHost), error);
}

bool isCudaBuildImpl() { return true; }

#else

DeviceQuery queryDevices() { return {{}, "this build has no CUDA support"}; }
void* allocateZeroed(int, std::size_t, std::string& error) {
    error = "this build has no CUDA support";
    return nullptr;
}
void release(int, void*) noexcept {}
bool copyToDevice(int, void*, const void*, std::size_t, std::string& error) {
    error = "this build has no CUDA support";
    return false;
}
bool copyToHost(int, void*, const void*, std::size_t, std::string& error) {
    error = "this build has no CUDA support";
    return false;
}
bool isCudaBuildImpl() { return false; }

#endif

}  // namespace vimra::gpu::runtime

namespace vimra::gpu {
bool isCudaBuild() { return runtime::isCudaBuildImpl(); }
}  // namespace vimra::gpu
