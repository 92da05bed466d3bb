#include <vimra/gpu/GpuDescription.h>
#include <vimra/gpu/GpuProcessing.h>

#include <vimra/core/InstructionSet.h>

namespace vimra::gpu {

bool gpuPathApplies(std::initializer_list<const image::BaseImage*> images) {
    if (!core::isGpuSupportActivated()) return false;
    bool any = false;
    for (const image::BaseImage* img : images) {
        if (!img) continue;
        if (!img->isGpuImage()) return false;
        any = true;
    }
    return any;
}

LauncherInfo BaseGpuProcessingAlgorithm::makeLauncherInfo(const image::BaseImage& image) const {
    const GpuDeviceDescription& device =
        LocalComputerDescription::get().getGpuDescription().getDevice(m_deviceIndex);
    LauncherInfo info;
    info.multiProcessorCount = device.multiProcessorCount;
    info.maxThreadsPerMultiProcessor = device.maxThreadsPerMultiProcessor;
    info.maxThreadsPerBlock = device.maxThreadsPerBlock;
    info.blockSize2d = device.blockSize2d;
    info.sizeX = image.getSizeX();
    info.sizeY = image.getSizeY();
    info.sizeZ = image.getSizeZ();
    info.sizeC = image.getSizeC();
    info.sizeT = image.getSizeT();
    return info;
}

processor::BoolResult BaseGpuProcessingAlgorithm::preProcess() {
    const image::BaseImage* img = deviceImage();
    const int device = img ? gpuDeviceOf(*img) : -1;
    if (device < 0) return processor::BoolResult::failure(getClassName() + " runs on GPU images only");
    m_deviceIndex = device;
    return processor::BoolResult::success();
}

processor::BoolResult BaseGpuProcessingAlgorithm::postProcess() { return processor::BoolResult::success(); }

processor::BoolResult BaseGpuProcessingAlgorithm::runDerived(processor::RunContext&) {
    processor::BoolResult r = preProcess();
    if (!r) return r;
    r = process();
    if (!r) return r;
    return postProcess();
}

}  // namespace vimra::gpu
