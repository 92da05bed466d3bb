#pragma once

// Images in GPU memory. The library never copies between host and device:
// callers upload their images, run operations on GPU images, and download the
// results. Plane layout follows host images (see BaseImage), with device addresses.

#include <vimra/image/BaseImage.h>

#include <vector>

namespace vimra::gpu {

class CudaImage final : public image::BaseImage {
public:
    /// A zero-filled image on `device`. Throws image::ImageException when the
    /// description is invalid, there is no such device or the memory runs out.
    static image::ImagePtr create(const image::ImageDescription& desc, int device = 0);
    /// A GPU copy of a host image (same description).
    static image::ImagePtr upload(const image::BaseImage& host, int device = 0);
    /// Copies this GPU image (or a view of one) into a host image of the same size and buffer type.
    static void download(const image::BaseImage& gpuImage, image::BaseImage& host);

    bool isGpuImage() const override { return true; }
    int getDevice() const { return m_device; }
    ~CudaImage() override;

private:
    CudaImage(const image::ImageDescription& desc, std::byte* device, const PlaneLayout& layout, int deviceIndex);
    int m_device;
};

/// The device holding a GPU image or a view of one; -1 for a host image.
int gpuDeviceOf(const image::BaseImage& image);

/// Device addresses of every plane of a GPU image (or view of one), z fastest,
/// then c, then t: what the kernels take as a buffer collection. Throws
/// image::ImageException for a host image.
std::vector<void*> extractBufferDataCollToGpu(const image::BaseImage& image);

}  // namespace vimra::gpu
