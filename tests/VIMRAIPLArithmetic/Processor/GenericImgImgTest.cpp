// The operations between images of different geometry: every geometry of the
// second image over first images that hold several pieces of it, for the four
// operations and a sample of type triples, each piece checked against the
// ordinary operation run on that piece alone; refusals that leave the output
// untouched; the classes and their tool tips as registered.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericAddImgImg/GenericAddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericDivideImgImg/GenericDivideImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericMultiplyImgImg/GenericMultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericSubtractImgImg/GenericSubtractImgImgLvl1.h>

#include <vimra/processor/ProcessorFactory.h>
#include <vimra/processor/Promotion.h>

#include "support/Reference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using image::ImageDescription;

namespace {

/// One dimension beyond x and y: 0 for 2d / grey / single, n for 3d / n channels / n time steps.
struct Shape {
    std::uint64_t z = 0, c = 0, t = 0;
};

ImageDescription describe(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                          Shape s) {
    return ImageDescription::make(
        type, x, y, s.z ? image::VolumeGeometry::make3d(s.z) : image::VolumeGeometry::make2d(),
        s.c ? image::ColorGeometry::multiChannel(s.c) : image::ColorGeometry::grey(),
        s.t ? image::TemporalGeometry::sequence(s.t) : image::TemporalGeometry::single());
}

image::ImagePtr randomImage(const ImageDescription& d, std::mt19937& rng) {
    auto img = image::Image::create(d);
    test::fillImage(*img,
                    test::randomValues(d.bufferType, d.sizeX * d.sizeY * d.planeCount(), rng));
    return img;
}

/// Every stored byte of the image's pixels (padding excluded).
std::vector<unsigned char> pixelBytes(const image::BaseImage& img) {
    std::vector<unsigned char> bytes;
    const std::size_t planeBytes = img.getPlaneSize() * img.getElementSize();
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z) {
                const auto* p = static_cast<const unsigned char*>(img.planeData(z, c, t));
                bytes.insert(bytes.end(), p, p + planeBytes);
            }
    return bytes;
}

/// One operation: the generic forms under test and the ordinary operation they stand on.
struct Operation {
    const char* name;
    void (*generic)(const image::ConstImagePtr&, const image::ConstImagePtr&,
                    const image::ImagePtr&);
    image::ImagePtr (*genericCreating)(const image::ConstImagePtr&, const image::ConstImagePtr&);
    void (*plain)(const image::ConstImagePtr&, const image::ConstImagePtr&, const image::ImagePtr&);
};

const Operation s_operations[] = {
    {"add", genericAddImgImg, genericAddImgImg, addImgImg},
    {"subtract", genericSubtractImgImg, genericSubtractImgImg, subtractImgImg},
    {"multiply", genericMultiplyImgImg, genericMultiplyImgImg, multiplyImgImg},
    {"divide", genericDivideImgImg, genericDivideImgImg, divideImgImg},
};

struct Triple {
    eImageBufferType::domain in1, in2, out;
};
const Triple s_triples[] = {
    {eImageBufferType::eUInt8, eImageBufferType::eUInt8, eImageBufferType::eUInt8},
    {eImageBufferType::eInt16, eImageBufferType::eUInt8, eImageBufferType::eInt32},
    {eImageBufferType::eFloat, eImageBufferType::eInt16, eImageBufferType::eFloat},
    {eImageBufferType::eInt32, eImageBufferType::eInt8, eImageBufferType::eUInt16},
};

struct Broadcast {
    const char* what;
    Shape first, second;
};
const Broadcast s_broadcasts[] = {
    {"plane over a volume", {5, 0, 0}, {0, 0, 0}},
    {"plane over a sequence", {0, 0, 4}, {0, 0, 0}},
    {"plane over a colour image", {0, 3, 0}, {0, 0, 0}},
    {"plane over a colour sequence of volumes", {3, 2, 2}, {0, 0, 0}},
    {"colour plane over a colour volume", {4, 3, 0}, {0, 3, 0}},
    {"colour plane over a colour sequence", {0, 2, 3}, {0, 2, 0}},
    {"plane sequence over a sequence of volumes", {3, 0, 4}, {0, 0, 4}},
    {"volume over a colour volume", {4, 3, 0}, {4, 0, 0}},
    {"volume over a sequence of volumes", {3, 0, 3}, {3, 0, 0}},
    {"colour volume over a sequence of colour volumes", {2, 2, 3}, {2, 2, 0}},
    {"plane over a plane", {0, 0, 0}, {0, 0, 0}},
};

/// Boxes of the first image that have the second image's size: the pieces.
std::vector<image::ImageView::Box> pieces(const image::BaseImage& first,
                                          const image::BaseImage& second) {
    std::vector<image::ImageView::Box> boxes;
    for (std::uint64_t t = 0; t < first.getSizeT(); t += second.getSizeT())
        for (std::uint64_t c = 0; c < first.getSizeC(); c += second.getSizeC())
            for (std::uint64_t z = 0; z < first.getSizeZ(); z += second.getSizeZ())
                boxes.push_back({z, second.getSizeZ(), c, second.getSizeC(), t, second.getSizeT()});
    return boxes;
}

/// Every piece of `out` equals the plain operation of that piece of `first` and
/// `second`, into an image of out's buffer type.
void expectPiecewise(const Operation& op, const image::ImagePtr& first,
                     const image::ImagePtr& second, const image::ImagePtr& out,
                     const std::string& context) {
    ASSERT_TRUE(out->sameSize(*first)) << context;
    const auto boxes = pieces(*first, *second);
    ASSERT_GT(boxes.size(), 0u);
    for (const auto& box : boxes) {
        auto piece = image::ImageView::create(image::ConstImagePtr(first), box);
        auto expected = image::Image::create(
            describe(out->getBufferType(), first->getSizeX(), first->getSizeY(),
                     {second->getSizeZ(), second->getSizeC(), second->getSizeT()}));
        op.plain(piece, second, expected);
        const auto want = test::imageValues(*expected);
        const auto got =
            test::imageValues(*image::ImageView::create(image::ConstImagePtr(out), box));
        ASSERT_EQ(want.size(), got.size());
        for (std::size_t i = 0; i < want.size(); ++i)
            ASSERT_TRUE(test::sameValue(want[i], got[i]))
                << context << ", piece z" << box.z0 << " c" << box.c0 << " t" << box.t0
                << ", element " << i << ": " << got[i] << " instead of " << want[i];
    }
}

TEST(GenericImgImg, EveryPieceEqualsThePlainOperationOfThatPiece) {
    std::mt19937 rng(14);
    for (const Broadcast& b : s_broadcasts)
        for (const Triple& types : s_triples) {
            auto first = randomImage(describe(types.in1, 37, 5, b.first), rng);
            auto second = randomImage(describe(types.in2, 37, 5, b.second), rng);
            for (const Operation& op : s_operations) {
                const std::string context = std::string(op.name) + ", " + b.what + ", types " +
                                            image::bufferTypeName(types.in1) + " " +
                                            image::bufferTypeName(types.in2) + " " +
                                            image::bufferTypeName(types.out);
                auto out = image::Image::create(describe(types.out, 37, 5, b.first));
                op.generic(first, second, out);
                expectPiecewise(op, first, second, out, context);
            }
        }
}

TEST(GenericImgImg, CreatedOutputHasTheFirstImagesGeometryAndTheAdditionPromotion) {
    std::mt19937 rng(3);
    for (const Broadcast& b : s_broadcasts) {
        for (const Operation& op : s_operations) {
            auto first = randomImage(describe(eImageBufferType::eUInt8, 9, 7, b.first), rng);
            auto second = randomImage(describe(eImageBufferType::eUInt8, 9, 7, b.second), rng);
            auto out = op.genericCreating(first, second);
            ASSERT_TRUE(out);
            // uint8 and uint8 is where the addition rule differs from subtraction's and division's.
            const auto promoted =
                processor::promoteBinary(processor::ePromoteBinaryType::eAddition,
                                         eImageBufferType::eUInt8, eImageBufferType::eUInt8);
            EXPECT_EQ(out->getBufferType(), promoted) << op.name << ", " << b.what;
            EXPECT_EQ(out->getDescription().volume, first->getDescription().volume)
                << op.name << ", " << b.what;
            EXPECT_EQ(out->getDescription().color, first->getDescription().color)
                << op.name << ", " << b.what;
            EXPECT_EQ(out->getDescription().temporal, first->getDescription().temporal)
                << op.name << ", " << b.what;
            expectPiecewise(op, first, second, out, std::string(op.name) + ", " + b.what);
        }
    }
}

TEST(GenericImgImg, DivisionByZerosAndNegativeZerosIsThatOfDivideImgImg) {
    std::mt19937 rng(9);
    for (const auto type : {eImageBufferType::eFloat, eImageBufferType::eInt16}) {
        auto first = randomImage(describe(type, 64, 3, {4, 0, 2}), rng);
        auto second = randomImage(describe(type, 64, 3, {}), rng);
        for (std::uint64_t x = 0; x < 64; x += 2) second->setValue(x % 4 ? -0.0 : 0.0, x, 1);
        auto out = image::Image::create(describe(type, 64, 3, {4, 0, 2}));
        genericDivideImgImg(first, second, out);
        expectPiecewise(s_operations[3], first, second, out, image::bufferTypeName(type));
        for (std::uint64_t x = 0; x < 64; x += 2) ASSERT_EQ(out->getValue(x, 1, 3, 0, 1), 0.0) << x;
    }
}

// ---- refusals ---------------------------------------------------------------------------------

struct Refusal {
    const char* what;
    Shape first, second;
    std::uint64_t secondX;  // the first image is 12 wide
    Shape output;
    const char* named;  // a part of the message
};
const Refusal s_refusals[] = {
    {"a 3d grey sequence", {3, 0, 2}, {3, 0, 2}, 12, {3, 0, 2}, "3d grey sequence"},
    {"a 2d colour sequence", {0, 2, 2}, {0, 2, 2}, 12, {0, 2, 2}, "2d colour sequence"},
    {"a 3d colour sequence", {2, 2, 2}, {2, 2, 2}, 12, {2, 2, 2}, "3d colour sequence"},
    {"a volume deeper than the first image", {3, 0, 0}, {5, 0, 0}, 12, {3, 0, 0}, "InImg2"},
    {"more channels than the first image", {0, 2, 0}, {0, 3, 0}, 12, {0, 2, 0}, "InImg2"},
    {"a plane of another width", {4, 0, 0}, {0, 0, 0}, 11, {4, 0, 0}, "InImg2"},
    {"a colour plane of another channel count", {2, 3, 0}, {0, 2, 0}, 12, {2, 3, 0}, "InImg2"},
    {"a plane sequence of another length", {0, 0, 4}, {0, 0, 3}, 12, {0, 0, 4}, "InImg2"},
    {"a volume of another depth", {4, 0, 2}, {3, 0, 0}, 12, {4, 0, 2}, "InImg2"},
    {"a colour volume of another depth", {2, 2, 2}, {3, 2, 0}, 12, {2, 2, 2}, "InImg2"},
    {"an output of the second image's size", {4, 0, 0}, {0, 0, 0}, 12, {0, 0, 0}, "OutImg"},
};

TEST(GenericImgImg, RefusalsNameTheFaultAndLeaveTheOutputByteIdentical) {
    std::mt19937 rng(21);
    for (const Refusal& r : s_refusals) {
        auto first = randomImage(describe(eImageBufferType::eInt16, 12, 3, r.first), rng);
        auto second = randomImage(describe(eImageBufferType::eInt16, r.secondX, 3, r.second), rng);
        auto out = randomImage(describe(eImageBufferType::eInt16, 12, 3, r.output), rng);
        const auto before = pixelBytes(*out);
        for (const Operation& op : s_operations) {
            try {
                op.generic(first, second, out);
                ADD_FAILURE() << op.name << " accepted " << r.what;
            } catch (const processor::VIMRABaseProcessingException& e) {
                EXPECT_NE(std::string(e.what()).find(r.named), std::string::npos)
                    << r.what << ": " << e.what();
            }
            ASSERT_TRUE(pixelBytes(*out) == before)
                << op.name << " wrote to the output refusing " << r.what;
            if (r.output.z == r.first.z && r.output.c == r.first.c && r.output.t == r.first.t) {
                EXPECT_THROW(op.genericCreating(first, second),
                             processor::VIMRABaseProcessingException)
                    << r.what;
            }
        }
    }
}

TEST(GenericImgImg, WithoutRulesAnUnlistedGeometryFailsBeforeAnyPieceRuns) {
    auto first = image::Image::create(describe(eImageBufferType::eUInt8, 8, 2, {2, 0, 3}));
    auto second = image::Image::create(describe(eImageBufferType::eUInt8, 8, 2, {2, 0, 3}));
    auto out = image::Image::create(describe(eImageBufferType::eUInt8, 8, 2, {2, 0, 3}));
    first->fill(1);
    out->fill(7);
    auto p = boost::make_shared<GenericAddImgImgLvl1>();
    p->init(processor::eRulePolicy::eRulesOff);
    p->set<imaproc::attr::InImg1>(first);
    p->set<imaproc::attr::InImg2>(second);
    p->set<imaproc::attr::OutImg>(out);
    try {
        processor::executeSyncRun(p);
        FAIL() << "a 3d sequence was served";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find(
                      "Enumerate value 3d grey sequence of InImg2 is not yet supported"),
                  std::string::npos)
            << e.what();
    }
    for (double v : test::imageValues(*out)) ASSERT_EQ(v, 7.0);
}

TEST(GenericImgImg, AFailingPieceFailsTheRunWithThePieceOperationsMessage) {
    // Rules off: the planes differ in width, which only each piece's addImgImg sees.
    auto first = image::Image::create(describe(eImageBufferType::eUInt8, 8, 2, {3, 0, 0}));
    auto second = image::Image::create(describe(eImageBufferType::eUInt8, 7, 2, {}));
    auto p = boost::make_shared<GenericAddImgImgLvl1>();
    p->init(processor::eRulePolicy::eRulesOff);
    p->set<imaproc::attr::InImg1>(first);
    p->set<imaproc::attr::InImg2>(second);
    try {
        processor::executeSyncRun(p);
        FAIL() << "pieces of different sizes were added";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("AddImgImgLvl1"), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("matchSize"), std::string::npos) << e.what();
    }
}

// ---- asynchronous runs ------------------------------------------------------------------------

TEST(GenericImgImg, AsynchronousFormsGiveTheSynchronousResultAndCanBeCancelled) {
    std::mt19937 rng(5);
    auto first = randomImage(describe(eImageBufferType::eFloat, 40, 6, {3, 0, 2}), rng);
    auto second = randomImage(describe(eImageBufferType::eFloat, 40, 6, {3, 0, 0}), rng);
    auto run = genericMultiplyImgImg_async(first, second);
    run->wait();
    const auto created = getAsyncProcessorOutput(run);
    ASSERT_TRUE(created);
    EXPECT_TRUE(pixelBytes(*created) == pixelBytes(*genericMultiplyImgImg(first, second)));

    auto out = image::Image::create(describe(eImageBufferType::eFloat, 40, 6, {3, 0, 2}));
    auto into = genericSubtractImgImg_async(first, second, out);
    into->wait();
    EXPECT_EQ(getAsyncProcessorOutput(into), out);
    expectPiecewise(s_operations[1], first, second, out, "asynchronous subtract");

    // Many pieces of many strips: far more work than the time to cancel.
    auto volume =
        image::Image::create(ImageDescription::make3d(eImageBufferType::eFloat, 512, 512, 32));
    auto plane = image::Image::create2d(eImageBufferType::eFloat, 512, 512);
    auto cancelled = genericAddImgImg_async(volume, plane);
    cancelled->requestCancellation();
    processor::BoolResult r = cancelled->waitForCompletion();
    EXPECT_FALSE(r);
    EXPECT_NE(r.getMessage().find("cancel"), std::string::npos) << r.getMessage();
}

// ---- classes ----------------------------------------------------------------------------------

TEST(GenericImgImg, EveryClassIsRegisteredWithItsToolTip) {
    const std::pair<const char*, const char*> classes[] = {
        {"GenericAddImgImgLvl1", "Level 1 algorithm: Add images with different dimensions"},
        {"GenericAddImgImgSplit2dLvl2", "Level 2 algorithm: Add images with different dimensions"},
        {"GenericAddImgImgSplit2dRgbLvl2",
         "Level 2 algorithm: Add images with different dimensions"},
        {"GenericAddImgImgSplit2dSeqLvl2",
         "Level 2 algorithm: Add images with different dimensions"},
        {"GenericAddImgImgSplit3dLvl2", "Level 2 algorithm: Add images with different dimensions"},
        {"GenericAddImgImgSplit3dRgbLvl2",
         "Level 2 algorithm: Add images with different dimensions"},
        {"GenericDivideImgImgLvl1",
         "Level 1 algorithm: function for divide images with different dimensions"},
        {"GenericDivideImgImgSplit2dLvl2",
         "Level 2 algorithm: function for divide images with different dimensions"},
        {"GenericDivideImgImgSplit2dRgbLvl2",
         "Level 2 algorithm: function for divide images with different dimensions"},
        {"GenericDivideImgImgSplit2dSeqLvl2",
         "Level 2 algorithm: function for divide images with different dimensions"},
        {"GenericDivideImgImgSplit3dLvl2",
         "Level 2 algorithm: function for subtract divide with different dimensions"},
        {"GenericDivideImgImgSplit3dRgbLvl2",
         "Level 2 algorithm: function for subtract divide with different dimensions"},
        {"GenericMultiplyImgImgLvl1",
         "Level 1 algorithm: Multiply images with different dimensions"},
        {"GenericMultiplyImgImgSplit2dLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
        {"GenericMultiplyImgImgSplit2dRgbLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
        {"GenericMultiplyImgImgSplit2dSeqLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
        {"GenericMultiplyImgImgSplit3dLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
        {"GenericMultiplyImgImgSplit3dRgbLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
        {"GenericSubtractImgImgLvl1",
         "Level 1 algorithm: functions for subtract images with different dimensions"},
        {"GenericSubtractImgImgSplit2dLvl2",
         "Level 2 algorithm: functions for subtract images with different dimensions"},
        {"GenericSubtractImgImgSplit2dRgbLvl2",
         "Level 2 algorithm: functions for subtract images with different dimensions"},
        {"GenericSubtractImgImgSplit2dSeqLvl2",
         "Level 2 algorithm: functions for subtract images with different dimensions"},
        {"GenericSubtractImgImgSplit3dLvl2",
         "Level 2 algorithm: functions for subtract images with different dimensions"},
        {"GenericSubtractImgImgSplit3dRgbLvl2",
         "Level 2 algorithm: Multiply images with different dimensions"},
    };
    for (const auto& [name, toolTip] : classes) {
        const std::string typeName = std::string("vimra::imaproc::arithm::") + name;
        auto p = processor::ProcessorFactory::getInstance().createProcessor(typeName);
        ASSERT_TRUE(p) << typeName;
        EXPECT_EQ(p->getClassName(), typeName);
        EXPECT_EQ(p->getObjectName(), name);
        EXPECT_EQ(p->getToolTip(), toolTip) << name;
    }
}

/// A level 2 created by name runs one piece: its attributes are those of its geometry.
template <class In1, class In2>
void expectLevelTwoRunsOnePiece(const std::string& name, Shape shape) {
    std::mt19937 rng(8);
    auto a = randomImage(describe(eImageBufferType::eUInt16, 20, 3, shape), rng);
    auto b = randomImage(describe(eImageBufferType::eUInt16, 20, 3, shape), rng);
    auto out = image::Image::create(describe(eImageBufferType::eUInt16, 20, 3, shape));
    auto p = boost::dynamic_pointer_cast<processor::BaseAsyncProcessor>(
        processor::ProcessorFactory::getInstance().createProcessor("vimra::imaproc::arithm::" +
                                                                   name));
    ASSERT_TRUE(p) << name;
    p->init();
    p->set<In1>(a);
    p->set<In2>(b);
    p->set<imaproc::attr::OutImg>(out);
    processor::executeSyncRun(p);
    auto expected = image::Image::create(describe(eImageBufferType::eUInt16, 20, 3, shape));
    subtractImgImg(a, b, expected);
    EXPECT_TRUE(pixelBytes(*out) == pixelBytes(*expected)) << name;
}

TEST(GenericImgImg, LevelTwoClassesTakeTheAttributesOfTheirGeometry) {
    namespace attr = imaproc::attr;
    expectLevelTwoRunsOnePiece<attr::InSubImg2d1, attr::InSubImg2d2>(
        "GenericSubtractImgImgSplit2dLvl2", {});
    expectLevelTwoRunsOnePiece<attr::InSubColorImg2d1, attr::InSubColorImg2d2>(
        "GenericSubtractImgImgSplit2dRgbLvl2", {0, 3, 0});
    expectLevelTwoRunsOnePiece<attr::InSubSeqImg2d1, attr::InSubSeqImg2d2>(
        "GenericSubtractImgImgSplit2dSeqLvl2", {0, 0, 4});
    expectLevelTwoRunsOnePiece<attr::InSubImg3d1, attr::InSubImg3d2>(
        "GenericSubtractImgImgSplit3dLvl2", {3, 0, 0});
    expectLevelTwoRunsOnePiece<attr::InSubColorImg3d1, attr::InSubColorImg3d2>(
        "GenericSubtractImgImgSplit3dRgbLvl2", {2, 3, 0});
}

}  // namespace
