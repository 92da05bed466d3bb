// Caller memory that ends at its last pixel (packed planes, no padding): the
// operations give the results of padded images with every instruction set, and
// read and write nothing outside the caller's buffers. The buffers here are
// exact-size heap blocks followed by guard elements checked after each run; under
// AddressSanitizer (tests/ built with the asan preset) a guard-free exact-size
// block is used as well, so any step past the end is reported.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/FunctionSelector.h>

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

using namespace vimra;
using image::eImageBufferType;
using image::ImageDescription;

namespace {

constexpr std::uint64_t kGuard = 64;
constexpr unsigned char kGuardByte = 0xA5;

/// Caller memory of exactly `elements` elements (plus guard bytes after it).
struct CallerBuffer {
    CallerBuffer(const ImageDescription& desc, bool guarded)
        : elementSize(image::getImageBufferBaseSize(desc.bufferType)),
          bytes(desc.sizeX * desc.sizeY * desc.planeCount() * elementSize),
          guard(guarded ? kGuard * elementSize : 0),
          storage(new std::byte[bytes + guard]) {
        std::memset(storage.get() + bytes, kGuardByte, guard);
        image = image::Image::wrap(desc, storage.get(), desc.sizeX * desc.sizeY);
    }
    bool guardIntact() const {
        for (std::size_t i = 0; i < guard; ++i)
            if (storage[bytes + i] != std::byte{kGuardByte}) return false;
        return true;
    }
    std::size_t elementSize, bytes, guard;
    std::unique_ptr<std::byte[]> storage;
    image::ImagePtr image;
};

void fillRandom(image::BaseImage& img, std::mt19937& rng) {
    std::uniform_real_distribution<double> value(-300.0, 300.0);
    for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img.getSizeX(); ++x) img.setValue(value(rng), x, y, z);
}

/// Pixel-by-pixel equality through double (exact for every element type; NaN equal to NaN).
::testing::AssertionResult samePixels(const image::BaseImage& a, const image::BaseImage& b) {
    for (std::uint64_t z = 0; z < a.getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < a.getSizeY(); ++y)
            for (std::uint64_t x = 0; x < a.getSizeX(); ++x) {
                const double u = a.getValue(x, y, z), v = b.getValue(x, y, z);
                if (u != v && !(u != u && v != v))
                    return ::testing::AssertionFailure() << "pixel (" << x << ", " << y << ", " << z << "): " << u
                                                         << " vs " << v;
            }
    return ::testing::AssertionSuccess();
}

struct SetLimit {
    explicit SetLimit(eInstructionSet::domain s) { core::limitInstructionSets(s); }
    ~SetLimit() { core::limitInstructionSets(eInstructionSet::eAVX512); }
};

struct Geometry {
    std::uint64_t x, y, z;
};

class UnpaddedMemory : public ::testing::TestWithParam<eInstructionSet::domain> {};

}  // namespace

// Widths and heights whose planes are not multiples of 64 (and one that is), 2d
// and 3d with packed planes, images large enough to be cut into several strips.
TEST_P(UnpaddedMemory, OperationsMatchPaddedImagesAndStayInsideTheBuffers) {
    if (!core::isSupportedByProcessor(GetParam())) GTEST_SKIP() << "processor lacks this instruction set";
    const SetLimit limit(GetParam());
    std::mt19937 rng(42);
    const Geometry geometries[] = {{1, 1, 1}, {7, 3, 1}, {63, 5, 1}, {65, 1, 3}, {100, 700, 1}, {33, 17, 5}, {64, 64, 2}};
    const eImageBufferType::domain types[] = {eImageBufferType::eUInt8, eImageBufferType::eInt16,
                                              eImageBufferType::eInt32, eImageBufferType::eFloat};
    for (bool guarded : {true, false}) {
        for (const Geometry& g : geometries) {
            for (auto type : types) {
                SCOPED_TRACE(::testing::Message() << g.x << "x" << g.y << "x" << g.z << " "
                                                  << image::bufferTypeName(type) << (guarded ? " guarded" : ""));
                const auto desc = g.z == 1 ? ImageDescription::make2d(type, g.x, g.y)
                                           : ImageDescription::make3d(type, g.x, g.y, g.z);
                const auto outDesc = g.z == 1 ? ImageDescription::make2d(eImageBufferType::eInt16, g.x, g.y)
                                              : ImageDescription::make3d(eImageBufferType::eInt16, g.x, g.y, g.z);
                CallerBuffer a(desc, guarded), b(desc, guarded), out(outDesc, guarded);
                fillRandom(*a.image, rng);
                fillRandom(*b.image, rng);
                const image::ImagePtr paddedA = image::Image::clone(*a.image);
                const image::ImagePtr paddedB = image::Image::clone(*b.image);
                ASSERT_TRUE(paddedA->hasVectorPadding());
                ASSERT_EQ(a.image->hasVectorPadding(), (g.x * g.y) % 64 == 0);

                // Two inputs into a given output.
                const image::ImagePtr expected = image::Image::create(outDesc);
                imaproc::arithm::addImgImg(paddedA, paddedB, expected);
                imaproc::arithm::addImgImg(a.image, b.image, out.image);
                EXPECT_TRUE(samePixels(*out.image, *expected));

                // A created output from unpadded inputs.
                EXPECT_TRUE(samePixels(*imaproc::arithm::divideImgImg(a.image, b.image),
                                       *imaproc::arithm::divideImgImg(paddedA, paddedB)));

                // In place: the output is the first input.
                const image::ImagePtr expectedAbs = image::Image::create(desc);
                imaproc::arithm::absImg(paddedA, expectedAbs);
                imaproc::arithm::absImg(a.image, a.image);
                EXPECT_TRUE(samePixels(*a.image, *expectedAbs));

                EXPECT_TRUE(a.guardIntact() && b.guardIntact() && out.guardIntact());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EverySet, UnpaddedMemory,
                         ::testing::Values(eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX,
                                           eInstructionSet::eAVX2, eInstructionSet::eAVX512),
                         [](const auto& info) { return std::string(core::instructionSetName(info.param)) == "AVX-512"
                                                           ? std::string("AVX512")
                                                           : std::string(core::instructionSetName(info.param)); });

namespace {

// A kernel that behaves like a vector kernel: whole steps of 64 with no tail,
// out[i] = 2 * in[i] + first-based position, recording the calls it gets.
struct Call {
    std::uint64_t count, first;
};
std::vector<Call> g_calls;

processor::ProcessingResult<bool> overrunningKernel(const processor::KernelArgs& args) {
    g_calls.push_back({args.info.count, args.info.first});
    const auto* in = static_cast<const int*>(args.in[0]);
    auto* out = static_cast<int*>(args.out[0]);
    for (std::uint64_t i = 0; i < args.info.count; i += 64)
        for (std::uint64_t k = i; k < i + 64; ++k) out[k] = 2 * in[k] + static_cast<int>(args.info.first + k);
    return {true, true};
}

}  // namespace

TEST(RunKernelWithinBuffers, WholeStepsInPlaceTailThroughScratch) {
    for (std::uint64_t count : {0u, 1u, 63u, 64u, 65u, 128u, 200u}) {
        SCOPED_TRACE(count);
        std::vector<int> in(count + kGuard, 7), out(count + kGuard, -1);
        for (std::uint64_t i = 0; i < count; ++i) in[i] = static_cast<int>(i * 3) - 50;
        processor::KernelArgs args;
        args.info.count = count;
        args.in[0] = in.data();
        args.out[0] = out.data();
        const std::size_t sizes[] = {sizeof(int), sizeof(int)};
        g_calls.clear();
        ASSERT_TRUE(processor::runKernelWithinBuffers(&overrunningKernel, args, 1, 1, sizes));
        for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(out[i], 2 * in[i] + static_cast<int>(i)) << i;
        for (std::uint64_t i = count; i < count + kGuard; ++i) ASSERT_EQ(out[i], -1) << "written past the end at " << i;
        // One call over the whole steps (if any), one over the rest (if any), positions continuing.
        const std::uint64_t whole = count / 64 * 64;
        std::vector<std::pair<std::uint64_t, std::uint64_t>> expected;
        if (whole > 0 || count == 0) expected.push_back({whole, 0});
        if (count > whole) expected.push_back({count - whole, whole});
        ASSERT_EQ(g_calls.size(), expected.size());
        for (std::size_t k = 0; k < expected.size(); ++k) {
            EXPECT_EQ(g_calls[k].count, expected[k].first);
            EXPECT_EQ(g_calls[k].first, expected[k].second);
        }
    }
}

// A run's dispatch policy caps the instruction sets of that run only: int16 +
// int16 into int8 wraps on the portable path (200 -> -56) and saturates on a
// vector path (127), in the same process at the same time.
TEST(PerRunInstructionSetCap, ChoosesThePathOfEachRun) {
    auto a = image::Image::create2d(eImageBufferType::eInt16, 100, 3);
    a->fill(100);
    auto portable = image::Image::create2d(eImageBufferType::eInt8, 100, 3);
    auto widest = image::Image::create2d(eImageBufferType::eInt8, 100, 3);
    for (const auto& [out, cap] : {std::pair{portable, eInstructionSet::eStandard}, std::pair{widest, eInstructionSet::eAVX512}}) {
        auto p = boost::make_shared<imaproc::arithm::AddImgImgLvl1>();
        p->init(processor::eRulePolicy::eRulesOn);
        p->set<imaproc::attr::InImg1>(a);
        p->set<imaproc::attr::InImg2>(a);
        p->set<imaproc::attr::OutImg>(out);
        processor::ProcessorDispatchPolicy policy = p->getDispatchPolicy();
        policy.setHighestInstructionSet(cap);
        p->setDispatchPolicy(policy);
        processor::executeSyncRun(p);
    }
    EXPECT_EQ(portable->getValue(99, 2), -56);
    const bool vector = core::isAvailable(eInstructionSet::eSSE2);
    EXPECT_EQ(widest->getValue(99, 2), vector ? 127 : -56);
    // Nothing process-wide was changed.
    EXPECT_EQ(core::getInstructionSetLimit(), eInstructionSet::eAVX512);
}
