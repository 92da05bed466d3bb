#pragma once

// The GPUs of this computer, as the CUDA runtime reports them. Without the
// CUDA runtime, or without a usable driver, there are none, and the reason is
// kept for messages ("CUDA driver version is insufficient for CUDA runtime version").

#include <cstdint>
#include <string>
#include <vector>

namespace vimra::gpu {

struct GpuDeviceDescription {
    int index = 0;
    std::string name;
    int computeCapabilityMajor = 0, computeCapabilityMinor = 0;
    int multiProcessorCount = 0;
    int maxThreadsPerMultiProcessor = 0;
    int maxThreadsPerBlock = 0;
    /// Square 2d block used for pixel kernels: side in the low 16 bits, again in the high 16.
    std::int32_t blockSize2d = 0;
    std::uint64_t totalMemoryBytes = 0;
};

class GpuDescription {
public:
    const std::vector<GpuDeviceDescription>& getDevices() const { return m_devices; }
    bool hasDevice() const { return !m_devices.empty(); }
    /// The device of that index; throws std::out_of_range naming the count otherwise.
    const GpuDeviceDescription& getDevice(int index) const;
    /// Why there is no device ("" when there is one).
    const std::string& getUnavailableReason() const { return m_reason; }

private:
    friend class LocalComputerDescription;
    std::vector<GpuDeviceDescription> m_devices;
    std::string m_reason;
};

/// This computer, queried once (the CUDA runtime is asked on first use).
class LocalComputerDescription {
public:
    static const LocalComputerDescription& get();
    const GpuDescription& getGpuDescription() const { return m_gpu; }

private:
    LocalComputerDescription();
    GpuDescription m_gpu;
};

/// Whether this build has the CUDA runtime at all.
bool isCudaBuild();

/// The block side used for a device allowing `maxThreadsPerBlock` threads: 16
/// (256 threads, enough to hide memory latency in pixel kernels), smaller where
/// the device allows fewer; packed as LauncherInfo::blockSize2d.
std::int32_t blockSize2dFor(int maxThreadsPerBlock);

}  // namespace vimra::gpu
