// GPU images and the GPU side of processing. Everything but the device round
// trip runs without a GPU: the launch shape is a pure function, and a host
// image posing as a GPU image stands in for device memory where only addresses
// and the path decision matter.

#include <vimra/gpu/CudaImage.h>
#include <vimra/gpu/GpuDescription.h>
#include <vimra/gpu/GpuLaunch.h>
#include <vimra/gpu/GpuProcessing.h>

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/Attribute.h>

#include <gtest/gtest.h>

#include <cstddef>

using namespace vimra;
using image::eImageBufferType;

namespace {

/// Host memory that answers as GPU memory: its pixels must not be read from the host.
class PosingGpuImage final : public image::BaseImage {
public:
    static image::ImagePtr create(const image::ImageDescription& desc) {
        auto host = image::Image::create(desc);
        const std::uint64_t stride = image::roundUpToPadding(desc.sizeX * desc.sizeY);
        const PlaneLayout layout{stride, stride * desc.volume.getSizeZ(),
                                 stride * desc.volume.getSizeZ() * desc.color.getSizeC()};
        auto* origin = static_cast<std::byte*>(host->planeData());
        return image::ImagePtr(new PosingGpuImage(desc, origin, layout, host));
    }
    bool isGpuImage() const override { return true; }

private:
    PosingGpuImage(const image::ImageDescription& d, std::byte* o, const PlaneLayout& l, image::ImagePtr keep)
        : BaseImage(d, o, l), m_keep(std::move(keep)) {}
    image::ImagePtr m_keep;
};

/// Restores the GPU switch after a test.
struct GpuSwitch {
    bool saved = core::isGpuSupportActivated();
    ~GpuSwitch() { core::setGpuSupportActivated(saved); }
};

TEST(GpuLaunch, LauncherInfoKeepsTheKernelsFieldOrder) {
    EXPECT_EQ(offsetof(gpu::LauncherInfo, multiProcessorCount), 0u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, maxThreadsPerMultiProcessor), 4u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, maxThreadsPerBlock), 8u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, blockSize2d), 12u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, reserved), 16u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, sizeX), 24u);
    EXPECT_EQ(offsetof(gpu::LauncherInfo, sizeT), 56u);
}

TEST(GpuLaunch, ShapeCoversEveryPixelAndEveryPlane) {
    struct Case {
        std::int32_t block;
        std::uint64_t x, y, z, c, t;
        std::uint64_t gridX, gridY, gridZ;
        std::uint32_t side;
    };
    const Case cases[] = {
        {16 | (16 << 16), 1, 1, 1, 1, 1, 1, 1, 1, 16},
        {16 | (16 << 16), 16, 16, 1, 1, 1, 1, 1, 1, 16},
        {16 | (16 << 16), 17, 16, 1, 1, 1, 2, 1, 1, 16},  // x not a multiple of the side: rounded up
        {16 | (16 << 16), 33, 47, 1, 1, 1, 3, 3, 1, 16},
        {16, 640, 480, 5, 3, 4, 40, 30, 60, 16},           // colour sequence of volumes: z*c*t layers
        {8 | (32 << 16), 9, 8, 1, 1, 1, 2, 1, 1, 8},       // only the low 16 bits give the side
        {0, 9, 8, 1, 1, 1, 0, 0, 0, 0},                    // no side: nothing to launch
    };
    for (const Case& c : cases) {
        gpu::LauncherInfo info;
        info.blockSize2d = c.block;
        info.sizeX = c.x, info.sizeY = c.y, info.sizeZ = c.z, info.sizeC = c.c, info.sizeT = c.t;
        const gpu::LaunchShape s = gpu::launchShape(info);
        EXPECT_EQ(s.blockX, c.side);
        EXPECT_EQ(s.blockY, c.side);
        EXPECT_EQ(s.blockZ, c.side ? 1u : 0u);
        EXPECT_EQ(s.gridX, c.gridX) << c.x;
        EXPECT_EQ(s.gridY, c.gridY) << c.y;
        EXPECT_EQ(s.gridZ, c.gridZ);
        if (c.side) {
            EXPECT_GE(s.gridX * s.blockX, c.x);
            EXPECT_LT((s.gridX - 1) * s.blockX, c.x);
        }
    }
    for (auto [threads, side] : {std::pair{1024, 16}, {256, 16}, {255, 8}, {64, 8}, {63, 4}, {1, 1}})
        EXPECT_EQ(gpu::blockSize2dFor(threads), side | (side << 16)) << threads;
}

TEST(GpuImages, AddressesOfPlanesAndViewsWithoutReadingThem) {
    auto desc = image::ImageDescription::make2d(eImageBufferType::eInt16, 5, 3);
    desc.volume = image::VolumeGeometry::make3d(2);
    desc.color = image::ColorGeometry::multiChannel(3);
    auto gpuImage = PosingGpuImage::create(desc);
    const auto planes = gpu::extractBufferDataCollToGpu(*gpuImage);
    ASSERT_EQ(planes.size(), 6u);
    auto* base = static_cast<std::byte*>(planes[0]);
    const std::uint64_t strideBytes = image::roundUpToPadding(15) * 2;
    for (std::uint64_t c = 0; c < 3; ++c)
        for (std::uint64_t z = 0; z < 2; ++z)
            EXPECT_EQ(static_cast<std::byte*>(planes[c * 2 + z]), base + (c * 2 + z) * strideBytes);
    EXPECT_THROW(gpuImage->planeData(), image::ImageException);

    // A channel of it is still a GPU image, at that channel's planes.
    auto view = image::ImageView::create(gpuImage, image::ImageView::Box::volume3d(*gpuImage, 2, 0));
    EXPECT_TRUE(view->isGpuImage());
    EXPECT_THROW(view->planeData(), image::ImageException);
    const auto viewPlanes = gpu::extractBufferDataCollToGpu(*view);
    ASSERT_EQ(viewPlanes.size(), 2u);
    EXPECT_EQ(viewPlanes[0], planes[4]);
    EXPECT_EQ(viewPlanes[1], planes[5]);

    auto host = image::Image::create(desc);
    EXPECT_THROW(gpu::extractBufferDataCollToGpu(*host), image::ImageException);
    EXPECT_EQ(gpu::gpuDeviceOf(*host), -1);
}

TEST(GpuImages, GpuPathOnlyWhenActivatedAndEveryImageIsOnTheGpu) {
    GpuSwitch restore;
    const auto desc = image::ImageDescription::make2d(eImageBufferType::eFloat, 4, 4);
    auto g1 = PosingGpuImage::create(desc), g2 = PosingGpuImage::create(desc);
    auto h = image::Image::create(desc);
    core::setGpuSupportActivated(false);
    EXPECT_FALSE(gpu::gpuPathApplies({g1.get(), g2.get()}));
    core::setGpuSupportActivated(true);
    EXPECT_TRUE(gpu::gpuPathApplies({g1.get(), g2.get()}));
    EXPECT_TRUE(gpu::gpuPathApplies({g1.get(), nullptr}));  // unset optional images take no part
    EXPECT_FALSE(gpu::gpuPathApplies({g1.get(), h.get()}));
    EXPECT_FALSE(gpu::gpuPathApplies({h.get()}));
    EXPECT_FALSE(gpu::gpuPathApplies({nullptr}));
}

TEST(GpuImages, CudaSplitHandsWholeSubImagesAndRefusesHostImages) {
    using Attr = imaproc::attr::InSubGpuImg;
    auto desc = image::ImageDescription::make2d(eImageBufferType::eUInt8, 8, 2);
    desc.color = image::ColorGeometry::multiChannel(3);
    gpu::CudaSubImageSplit<processor::BaseProcessor, Attr> split;
    split.initBase(processor::eSubImageSplitType::ePlane2d, image::ConstImagePtr(PosingGpuImage::create(desc)));
    EXPECT_EQ(split.getCount(), 3u);
    gpu::CudaSubImageSplit<processor::BaseProcessor, Attr> refused;
    EXPECT_THROW(refused.initBase(processor::eSubImageSplitType::ePlane2d, image::ConstImagePtr(image::Image::create(desc))),
                 processor::VIMRABaseProcessingException);
}

TEST(GpuDevices, WithoutADeviceCreationFailsNamingWhy) {
    const auto& gpus = gpu::LocalComputerDescription::get().getGpuDescription();
    if (gpus.hasDevice()) GTEST_SKIP() << "this computer has a GPU (" << gpus.getDevice(0).name << ")";
    EXPECT_FALSE(gpus.getUnavailableReason().empty());
    EXPECT_THROW(gpus.getDevice(0), std::out_of_range);
    try {
        gpu::CudaImage::create(image::ImageDescription::make2d(eImageBufferType::eFloat, 4, 4));
        FAIL() << "created a GPU image without a GPU";
    } catch (const image::ImageException& e) {
        EXPECT_NE(std::string(e.what()).find(gpus.getUnavailableReason()), std::string::npos) << e.what();
    }
}

TEST(GpuDevices, UploadAndDownloadRoundTrip) {
    const auto& gpus = gpu::LocalComputerDescription::get().getGpuDescription();
    if (!gpus.hasDevice()) GTEST_SKIP() << "no GPU: " << gpus.getUnavailableReason();
    auto desc = image::ImageDescription::make2d(eImageBufferType::eInt32, 37, 5);
    desc.color = image::ColorGeometry::multiChannel(2);
    auto host = image::Image::create(desc);
    for (std::uint64_t c = 0; c < 2; ++c)
        for (std::uint64_t y = 0; y < 5; ++y)
            for (std::uint64_t x = 0; x < 37; ++x) host->at<std::int32_t>(x, y, 0, c) = static_cast<std::int32_t>(x * 1000 + y * 10 + c) - 20000;
    auto onGpu = gpu::CudaImage::upload(*host);
    EXPECT_TRUE(onGpu->isGpuImage());
    EXPECT_EQ(gpu::gpuDeviceOf(*onGpu), 0);
    auto back = image::Image::create(desc);
    gpu::CudaImage::download(*onGpu, *back);
    for (std::uint64_t c = 0; c < 2; ++c)
        for (std::uint64_t y = 0; y < 5; ++y)
            for (std::uint64_t x = 0; x < 37; ++x) EXPECT_EQ(back->at<std::int32_t>(x, y, 0, c), host->at<std::int32_t>(x, y, 0, c));
    auto wrongType = image::Image::create2d(eImageBufferType::eFloat, 37, 5);
    EXPECT_THROW(gpu::CudaImage::download(*onGpu, *wrongType), image::ImageException);
}

}  // namespace
