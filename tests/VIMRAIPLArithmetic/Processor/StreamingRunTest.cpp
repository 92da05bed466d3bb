// Whole runs with streaming stores forced on and forced off give the same bytes:
// every operation, capped at every instruction set the processor offers, on
// images cut into many strips (parallel above the serial threshold) whose rows
// start anywhere relative to the vector alignment, into a new output and in place.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/Streaming.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using image::ImagePtr;

namespace {

using Run = std::function<void(const ImagePtr& a, const ImagePtr& b, const ImagePtr& out)>;

struct OperationCase {
    const char* name;
    Run run;
};

const OperationCase s_operations[] = {
    {"add", [](const ImagePtr& a, const ImagePtr& b, const ImagePtr& o) { addImgImg(a, b, o); }},
    {"subtract", [](const ImagePtr& a, const ImagePtr& b, const ImagePtr& o) { subtractImgImg(a, b, o); }},
    {"multiply", [](const ImagePtr& a, const ImagePtr& b, const ImagePtr& o) { multiplyImgImg(a, b, o); }},
    {"divide", [](const ImagePtr& a, const ImagePtr& b, const ImagePtr& o) { divideImgImg(a, b, o); }},
    {"abs", [](const ImagePtr& a, const ImagePtr&, const ImagePtr& o) { absImg(a, o); }},
};

struct ShapeCase {
    eImageBufferType::domain in, out;
    std::uint64_t x, y, z;
};

// Odd widths put row and strip starts off the vector alignment; the last two
// exceed the serial threshold (2^18 elements per plane) and run on the workers.
const ShapeCase s_shapes[] = {
    {eImageBufferType::eUInt8, eImageBufferType::eUInt8, 333, 77, 1},
    {eImageBufferType::eInt16, eImageBufferType::eFloat, 37, 29, 3},
    {eImageBufferType::eFloat, eImageBufferType::eUInt16, 129, 65, 2},
    {eImageBufferType::eUInt8, eImageBufferType::eUInt8, 1001, 300, 1},
    {eImageBufferType::eFloat, eImageBufferType::eFloat, 517, 513, 1},
};

ImagePtr randomImage(eImageBufferType::domain type, const ShapeCase& s, std::uint32_t seed) {
    ImagePtr img = image::Image::create3d(type, s.x, s.y, s.z);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> value(-300, 300);
    for (std::uint64_t z = 0; z < s.z; ++z)
        for (std::uint64_t y = 0; y < s.y; ++y)
            for (std::uint64_t x = 0; x < s.x; ++x) img->setValue(value(rng) + (x % 3) * 0.25, x, y, z);
    return img;
}

bool samePixels(const image::BaseImage& p, const image::BaseImage& q) {
    const std::uint64_t bytes = p.getSizeX() * p.getSizeY() * p.getElementSize();
    for (std::uint64_t z = 0; z < p.getSizeZ(); ++z)
        if (std::memcmp(p.planeData(z), q.planeData(z), bytes) != 0) return false;
    return true;
}

class StreamingRuns : public ::testing::Test {
  protected:
    void TearDown() override {
        processor::setStreamingStores(processor::eStreamingStores::eAuto);
        core::limitInstructionSets(eInstructionSet::eAVX512);
    }
    /// The output of `op` with streaming forced to `on`, into a new image or over the first input.
    static ImagePtr runWith(bool on, const OperationCase& op, const ShapeCase& s, bool inPlace) {
        processor::setStreamingStores(on ? processor::eStreamingStores::eOn : processor::eStreamingStores::eOff);
        const ImagePtr a = randomImage(s.in, s, 1), b = randomImage(s.in, s, 2);
        const ImagePtr out = inPlace ? a : image::Image::create3d(s.out, s.x, s.y, s.z);
        op.run(a, b, out);
        return out;
    }
};

TEST_F(StreamingRuns, ForcedOnAndOffGiveTheSameBytesOnEveryInstructionSet) {
    int compared = 0;
    for (const auto set : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX,
                           eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
        if (!core::isSupportedByProcessor(set)) continue;
        core::limitInstructionSets(set);
        for (const OperationCase& op : s_operations)
            for (const ShapeCase& s : s_shapes)
                for (const bool inPlace : {false, true}) {
                    if (inPlace && s.in != s.out) continue;
                    const ImagePtr plain = runWith(false, op, s, inPlace);
                    const ImagePtr streamed = runWith(true, op, s, inPlace);
                    ++compared;
                    EXPECT_TRUE(samePixels(*plain, *streamed))
                        << op.name << " capped at " << core::instructionSetName(set) << ", " << s.x << "x" << s.y
                        << "x" << s.z << (inPlace ? " in place" : "");
                }
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
