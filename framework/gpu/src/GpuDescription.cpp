#include <vimra/gpu/GpuDescription.h>

#include "CudaRuntime.h"

#include <stdexcept>

namespace vimra::gpu {

const GpuDeviceDescription& GpuDescription::getDevice(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= m_devices.size())
        throw std::out_of_range("GPU device " + std::to_string(index) + " does not exist: this computer has " +
                                std::to_string(m_devices.size()) +
                                (m_reason.empty() ? std::string() : " (" + m_reason + ")"));
    return m_devices[static_cast<std::size_t>(index)];
}

LocalComputerDescription::LocalComputerDescription() {
    runtime::DeviceQuery q = runtime::queryDevices();
    m_gpu.m_devices = std::move(q.devices);
    m_gpu.m_reason = std::move(q.reason);
}

const LocalComputerDescription& LocalComputerDescription::get() {
    static const LocalComputerDescription description;
    return description;
}

std::int32_t blockSize2dFor(int maxThreadsPerBlock) {
    std::int32_t side = 16;
    while (side > 1 && side * side > maxThreadsPerBlock) side /= 2;
    return side | (side << 16);
}

}  // namespace vimra::gpu
