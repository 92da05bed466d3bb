#pragma once

// The few CUDA runtime calls the framework makes, in one place: real ones in a
// CUDA build, answers of "no CUDA" otherwise. Errors come back as text.

#include <vimra/gpu/GpuDescription.h>

#include <cstddef>
#include <string>

namespace vimra::gpu::runtime {

struct DeviceQuery {
    std::vector<GpuDeviceDescription> devices;
    std::string reason;  // why there are none
};
DeviceQuery queryDevices();

/// Zero-filled device memory, or null with `error` set.
void* allocateZeroed(int device, std::size_t bytes, std::string& error);
void release(int device, void* memory) noexcept;
bool copyToDevice(int device, void* dst, const void* src, std::size_t bytes, std::string& error);
bool copyToHost(int device, void* dst, const void* src, std::size_t bytes, std::string& error);
bool isCudaBuildImpl();

}  // namespace vimra::gpu::runtime
