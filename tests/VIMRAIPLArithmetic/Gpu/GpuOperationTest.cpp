// The GPU operations. On any machine: the GPU classes exist by name, a GPU
// thread's work (GpuPixel.h, the function the CUDA kernels run) computed over a
// whole launch on the host equals the processor's standard kernel for every type
// combination, and the level-2 decision refuses what it cannot run without
// copying. With a GPU: the real launches against the processor.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <Kernel/Gpu/GpuPixel.h>
#include <Kernel/PortableKernels.h>
#include <Processor/AbsImg/AbsImgArithmetic.h>
#include <Processor/AddImgImg/AddImgImgArithmetic.h>
#include <Processor/DivideImgImg/DivideImgImgArithmetic.h>
#include <Processor/MultiplyImgImg/MultiplyImgImgArithmetic.h>
#include <Processor/SubtractImgImg/SubtractImgImgArithmetic.h>

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/gpu/CudaImage.h>
#include <vimra/gpu/GpuDescription.h>
#include <vimra/processor/ProcessingException.h>

#include "support/Reference.h"

#include <gtest/gtest.h>

#include <random>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;

namespace {

/// What a CUDA launch computes, run on the host: every thread of the launch
/// shape, blocks and grid layers included, through the same per-thread function.
template <class Arith, eInstructionSet::domain>
struct HostLaunchEntry {
    template <class... P>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return runTyped(args, static_cast<Strips<typename Arith::Signature, P...>*>(nullptr));
    }

private:
    template <class Sig, class... P>
    struct StripsOf;
    template <class... S, class... Q>
    struct StripsOf<kernel::Signature<S...>, Q...> {
        using type = std::tuple<kernel::StripType<S, Q...>...>;
    };
    template <class Sig, class... P>
    using Strips = typename StripsOf<Sig, P...>::type;

    template <class... T>
    static processor::ProcessingResult<bool> runTyped(const processor::KernelArgs& args, std::tuple<T...>*) {
        const auto& info = *static_cast<const gpu::LauncherInfo*>(args.launch);
        kernel::PlaneTables planes;
        for (std::size_t k = 0; k < sizeof...(T); ++k)
            planes.table[k] = static_cast<const void* const*>(k < Arith::s_inputs ? args.in[k]
                                                                                  : args.out[k - Arith::s_inputs]);
        const auto op = kernel::bindStrip<Arith, eInstructionSet::eStandard, T...>(args.params);
        const gpu::LaunchShape s = gpu::launchShape(info);
        for (std::uint64_t layer = 0; layer < s.gridZ; ++layer)
            for (std::uint64_t by = 0; by < s.gridY; ++by)
                for (std::uint64_t bx = 0; bx < s.gridX; ++bx)
                    for (std::uint32_t ty = 0; ty < s.blockY; ++ty)
                        for (std::uint32_t tx = 0; tx < s.blockX; ++tx)
                            kernel::gpuPixel<Arith, T...>(info, op, planes, bx * s.blockX + tx, by * s.blockY + ty,
                                                          layer, std::index_sequence_for<T...>{});
        return {true, true};
    }
};

template <class Arith>
processor::AlgorithmFunctionSelector hostLaunchSelector() {
    using Table = kernel::KernelTable<HostLaunchEntry, Arith, eInstructionSet::eStandard>;
    processor::AlgorithmFunctionSelector selector;
    processor::registerKernelTable(selector, eInstructionSet::eStandard, Table::s_data, Table::s_signature);
    return selector;
}

/// Plane addresses of a host image, z fastest, then c, then t (the order of a GPU buffer collection).
std::vector<void*> planesOf(image::BaseImage& img) {
    std::vector<void*> planes;
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z) planes.push_back(img.planeData(z, c, t));
    return planes;
}

image::ImageDescription withType(image::ImageDescription desc, eImageBufferType::domain type) {
    desc.bufferType = type;
    return desc;
}

image::ImagePtr randomImage(eImageBufferType::domain type, std::mt19937& rng) {
    // 19 x 21 with a block side of 8: neither a multiple; 2 channels x 2 frames: 4 grid layers.
    auto img = image::Image::create(image::ImageDescription::make(
        type, 19, 21, image::VolumeGeometry::make2d(), image::ColorGeometry::multiChannel(2),
        image::TemporalGeometry::sequence(2)));
    test::fillImage(*img, test::randomValues(type, img->getPlaneSize() * img->getPlaneCount(), rng));
    return img;
}

struct GpuOperation {
    const char* name;
    int inputs;
    processor::AlgorithmFunctionSelector (*hostLaunch)();
    void (*runOnProcessor)(const std::vector<image::ConstImagePtr>&, const image::ImagePtr&);
};

const GpuOperation s_operations[] = {
    {"AddImgImg", 2, &hostLaunchSelector<AddImgImgArithmetic>,
     [](const auto& in, const auto& out) { addImgImg(in[0], in[1], out); }},
    {"SubtractImgImg", 2, &hostLaunchSelector<SubtractImgImgArithmetic>,
     [](const auto& in, const auto& out) { subtractImgImg(in[0], in[1], out); }},
    {"MultiplyImgImg", 2, &hostLaunchSelector<MultiplyImgImgArithmetic>,
     [](const auto& in, const auto& out) { multiplyImgImg(in[0], in[1], out); }},
    {"DivideImgImg", 2, &hostLaunchSelector<DivideImgImgArithmetic>,
     [](const auto& in, const auto& out) { divideImgImg(in[0], in[1], out); }},
    {"AbsImg", 1, &hostLaunchSelector<AbsImgArithmetic>, [](const auto& in, const auto& out) { absImg(in[0], out); }},
};

/// Runs on the processor's standard kernels only, as the GPU must match them.
struct StandardKernelsOnly {
    StandardKernelsOnly() {
        processor::InstructionSetsIdentifier standard;
        standard.init(eInstructionSet::eStandard);
        for (auto f : {&AddImgImgLvl3::forceInstructionSets, &SubtractImgImgLvl3::forceInstructionSets,
                       &MultiplyImgImgLvl3::forceInstructionSets, &DivideImgImgLvl3::forceInstructionSets,
                       &AbsImgLvl3::forceInstructionSets})
            f(standard);
    }
    ~StandardKernelsOnly() {
        for (auto f : {&AddImgImgLvl3::releaseForcedInstructionSets, &SubtractImgImgLvl3::releaseForcedInstructionSets,
                       &MultiplyImgImgLvl3::releaseForcedInstructionSets, &DivideImgImgLvl3::releaseForcedInstructionSets,
                       &AbsImgLvl3::releaseForcedInstructionSets})
            f();
    }
};

::testing::AssertionResult sameImages(const image::BaseImage& actual, const image::BaseImage& expected) {
    const auto a = test::imageValues(actual), e = test::imageValues(expected);
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!test::sameValue(e[i], a[i]))
            return ::testing::AssertionFailure() << "element " << i << ": " << a[i] << " against " << e[i];
    return ::testing::AssertionSuccess();
}

/// Every combination of the seven element types for `inputs` inputs and one output.
template <class F>
void forEachCombination(int inputs, F&& f) {
    for (auto a : test::s_plainTypes)
        for (auto b : test::s_plainTypes)
            for (auto c : test::s_plainTypes) {
                if (inputs == 1 && b != test::s_plainTypes[0]) continue;
                f(a, inputs == 1 ? a : b, c);
            }
}

TEST(GpuOperations, ClassesExistByNameWithTheirLaunchers) {
    const bool cuda = gpu::isCudaBuild();
    for (const GpuOperation& op : s_operations) {
        const std::string name = std::string("vimra::imaproc::arithm::") + op.name + "GpuLvl3";
        auto object = core::DynamicObjectFactory::getInstance().create(name);
        ASSERT_TRUE(object) << name;
        auto* selector = processor::findFunctionSelector(name);
        ASSERT_NE(selector, nullptr) << name;
        // Launchers under every buffer-type key (labels and binary read as their element type).
        EXPECT_EQ(selector->size(), cuda ? (op.inputs == 2 ? 1331u : 121u) : 0u) << name;
    }
}

TEST(GpuOperations, AThreadsWorkOverAWholeLaunchEqualsTheStandardKernel) {
    StandardKernelsOnly standard;
    std::mt19937 rng(11);
    for (const GpuOperation& op : s_operations) {
        const processor::AlgorithmFunctionSelector launch = op.hostLaunch();
        forEachCombination(op.inputs, [&](auto ta, auto tb, auto tc) {
            std::vector<image::ImagePtr> in = {randomImage(ta, rng), randomImage(tb, rng)};
            auto expected = image::Image::create(withType(in[0]->getDescription(), tc));
            auto actual = image::Image::create(withType(in[0]->getDescription(), tc));
            op.runOnProcessor({in[0], in[1]}, expected);

            processor::DataTypeIdentifierColl types;
            std::vector<std::vector<void*>> planes;
            processor::KernelArgs args;
            for (int i = 0; i < op.inputs; ++i) {
                planes.push_back(planesOf(*in[static_cast<std::size_t>(i)]));
                types.append(in[static_cast<std::size_t>(i)]->getBufferType());
            }
            planes.push_back(planesOf(*actual));
            types.append(tc);
            for (int i = 0; i < op.inputs; ++i) args.in[i] = planes[static_cast<std::size_t>(i)].data();
            args.out[0] = planes.back().data();
            gpu::LauncherInfo info;
            info.blockSize2d = 8;
            info.sizeX = 19, info.sizeY = 21, info.sizeZ = 1, info.sizeC = 2, info.sizeT = 2;
            args.launch = &info;
            processor::KernelParams params;
            args.params = &params;
            const auto kernel = launch.select(types);
            ASSERT_NE(kernel, nullptr) << op.name << " " << types.toString();
            ASSERT_TRUE(kernel(args).toBoolResult());
            EXPECT_TRUE(sameImages(*actual, *expected)) << op.name << " " << types.toString();
        });
    }
}

/// Host memory that answers as GPU memory (never read as such here).
class PosingGpuImage final : public image::BaseImage {
public:
    static image::ImagePtr create(const image::ImageDescription& desc) {
        auto host = image::Image::create(desc);
        const std::uint64_t stride = image::roundUpToPadding(desc.sizeX * desc.sizeY);
        const PlaneLayout layout{stride, stride, stride};
        return image::ImagePtr(new PosingGpuImage(desc, static_cast<std::byte*>(host->planeData()), layout, host));
    }
    bool isGpuImage() const override { return true; }

private:
    PosingGpuImage(const image::ImageDescription& d, std::byte* o, const PlaneLayout& l, image::ImagePtr keep)
        : BaseImage(d, o, l), m_keep(std::move(keep)) {}
    image::ImagePtr m_keep;
};

struct GpuSwitch {
    bool saved = core::isGpuSupportActivated();
    ~GpuSwitch() { core::setGpuSupportActivated(saved); }
};

std::string failureOf(const std::function<void()>& run) {
    try {
        run();
    } catch (const processor::VIMRABaseProcessingException& e) {
        return e.what();
    }
    return "no failure";
}

TEST(GpuOperations, TheGpuPathNeedsSupportAndGpuImagesAndNeverCopies) {
    GpuSwitch restore;
    const auto desc = image::ImageDescription::make2d(eImageBufferType::eFloat, 8, 4);
    auto g1 = PosingGpuImage::create(desc), g2 = PosingGpuImage::create(desc), gOut = PosingGpuImage::create(desc);
    auto h1 = image::Image::create(desc), h2 = image::Image::create(desc), hOut = image::Image::create(desc);
    h1->fill(3), h2->fill(4);

    core::setGpuSupportActivated(true);
    addImgImg(h1, h2, hOut);  // host images: the processor path, GPU support or not
    EXPECT_EQ(hOut->at<float>(7, 3), 7.0f);
    EXPECT_NE(failureOf([&] { addImgImg(g1, h2, hOut); }).find("mixes host and GPU images"), std::string::npos);
    core::setGpuSupportActivated(false);
    EXPECT_NE(failureOf([&] { addImgImg(g1, g2, gOut); }).find("GPU support is not activated"), std::string::npos);

    // Every image on the GPU: the GPU level 3 runs, and reports a failure as a
    // result (these images pose as GPU images but belong to no device).
    core::setGpuSupportActivated(true);
    const std::string failure = failureOf([&] { addImgImg(g1, g2, gOut); });
    EXPECT_NE(failure.find("AddImgImgGpuLvl3"), std::string::npos) << failure;
}

TEST(GpuOperations, OnTheDeviceEqualTheProcessor) {
    const auto& gpus = gpu::LocalComputerDescription::get().getGpuDescription();
    if (!gpus.hasDevice()) GTEST_SKIP() << "no GPU: " << gpus.getUnavailableReason();
    GpuSwitch restore;
    core::setGpuSupportActivated(true);
    StandardKernelsOnly standard;
    std::mt19937 rng(5);
    for (const GpuOperation& op : s_operations) {
        forEachCombination(op.inputs, [&](auto ta, auto tb, auto tc) {
            auto a = randomImage(ta, rng), b = randomImage(tb, rng);
            auto expected = image::Image::create(withType(a->getDescription(), tc));
            op.runOnProcessor({a, b}, expected);
            auto ga = gpu::CudaImage::upload(*a), gb = gpu::CudaImage::upload(*b);
            auto gOut = gpu::CudaImage::create(expected->getDescription());
            op.runOnProcessor({ga, gb}, gOut);
            auto actual = image::Image::create(expected->getDescription());
            gpu::CudaImage::download(*gOut, *actual);
            EXPECT_TRUE(sameImages(*actual, *expected)) << op.name << " " << int(ta) << int(tb) << int(tc);
        });
    }
}

}  // namespace
