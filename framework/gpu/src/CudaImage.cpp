#include <vimra/gpu/CudaImage.h>
#include <vimra/gpu/GpuDescription.h>

#include "CudaRuntime.h"

namespace vimra::gpu {

namespace {

[[noreturn]] void fail(const std::string& message) { throw image::ImageException(message, "vimra::gpu"); }

/// Calls f(z, c, t) for every plane, z fastest, then c, then t.
template <class F>
void forEachPlane(const image::BaseImage& img, F&& f) {
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z) f(z, c, t);
}

}  // namespace

CudaImage::CudaImage(const image::ImageDescription& desc, std::byte* device, const PlaneLayout& layout,
                     int deviceIndex)
    : BaseImage(desc, device, layout), m_device(deviceIndex) {}

CudaImage::~CudaImage() { runtime::release(m_device, origin()); }

image::ImagePtr CudaImage::create(const image::ImageDescription& desc, int device) {
    image::checkDescription(desc);
    const GpuDescription& gpus = LocalComputerDescription::get().getGpuDescription();
    if (device < 0 || static_cast<std::size_t>(device) >= gpus.getDevices().size())
        fail("Cannot create a GPU image on device " + std::to_string(device) + ": " +
             (gpus.hasDevice() ? "this computer has " + std::to_string(gpus.getDevices().size()) + " GPU(s)"
                               : gpus.getUnavailableReason()));
    const std::uint64_t planeSize = desc.sizeX * desc.sizeY;
    const std::uint64_t stride = image::roundUpToPadding(planeSize);
    const std::uint64_t bytes = stride * desc.planeCount() * image::getImageBufferBaseSize(desc.bufferType);
    std::string error;
    void* memory = runtime::allocateZeroed(device, bytes, error);
    if (!memory) fail("Cannot allocate " + std::to_string(bytes) + " bytes on GPU " + std::to_string(device) + ": " + error);
    const PlaneLayout layout{stride, stride * desc.volume.getSizeZ(),
                             stride * desc.volume.getSizeZ() * desc.color.getSizeC()};
    return image::ImagePtr(new CudaImage(desc, static_cast<std::byte*>(memory), layout, device));
}

image::ImagePtr CudaImage::upload(const image::BaseImage& host, int device) {
    if (host.isGpuImage()) fail("upload takes a host image; this one is already on a GPU");
    image::ImagePtr gpu = create(host.getDescription(), device);
    const std::size_t planeBytes = host.getPlaneSize() * host.getElementSize();
    std::string error;
    forEachPlane(host, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        if (!runtime::copyToDevice(device, gpu->devicePlaneData(z, c, t), host.planeData(z, c, t), planeBytes, error))
            fail("Cannot upload an image to GPU " + std::to_string(device) + ": " + error);
    });
    return gpu;
}

void CudaImage::download(const image::BaseImage& gpuImage, image::BaseImage& host) {
    if (!gpuImage.isGpuImage()) fail("download takes a GPU image; this one is a host image");
    if (host.isGpuImage()) fail("download writes into a host image; the target is a GPU image");
    if (!gpuImage.sameSize(host) || gpuImage.getElementSize() != host.getElementSize() ||
        image::elementIndex(gpuImage.getBufferType()) != image::elementIndex(host.getBufferType()))
        fail("download needs a host image of the same size and element type: " +
             gpuImage.getDescription().toString() + " against " + host.getDescription().toString());
    const std::size_t planeBytes = host.getPlaneSize() * host.getElementSize();
    const int device = gpuDeviceOf(gpuImage);
    std::string error;
    forEachPlane(host, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        if (!runtime::copyToHost(device, host.planeData(z, c, t), gpuImage.devicePlaneData(z, c, t), planeBytes, error))
            fail("Cannot download an image from GPU " + std::to_string(device) + ": " + error);
    });
}

int gpuDeviceOf(const image::BaseImage& img) {
    const image::BaseImage* p = &img;
    while (const auto* view = dynamic_cast<const image::ImageView*>(p)) p = &view->getParent();
    if (const auto* cuda = dynamic_cast<const CudaImage*>(p)) return cuda->getDevice();
    return -1;
}

std::vector<void*> extractBufferDataCollToGpu(const image::BaseImage& img) {
    std::vector<void*> planes;
    planes.reserve(img.getPlaneCount());
    forEachPlane(img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        planes.push_back(img.devicePlaneData(z, c, t));
    });
    return planes;
}

}  // namespace vimra::gpu
