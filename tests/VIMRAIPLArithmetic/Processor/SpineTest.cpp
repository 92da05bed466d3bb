// End-to-end behaviour of the pixel-wise machinery on add and abs: every type
// combination against the independent reference, every geometry, in place,
// rule failures, asynchronous runs and cancellation.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include "support/Reference.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using image::ImageDescription;
using test::s_plainTypes;

namespace {

/// Restricts the level-3 classes to the standard kernels for the test's lifetime,
/// so results follow the wrap-around rules exactly.
class StandardKernels {
public:
    StandardKernels() {
        processor::InstructionSetsIdentifier standard;
        standard.init(eInstructionSet::eStandard);
        AddImgImgLvl3::forceInstructionSets(standard);
        AbsImgLvl3::forceInstructionSets(standard);
    }
    ~StandardKernels() {
        AddImgImgLvl3::releaseForcedInstructionSets();
        AbsImgLvl3::releaseForcedInstructionSets();
    }
};

image::ImagePtr randomImage(const ImageDescription& desc, std::mt19937& rng) {
    auto img = image::Image::create(desc);
    const std::uint64_t n = desc.sizeX * desc.sizeY * desc.planeCount();
    test::fillImage(*img, test::randomValues(desc.bufferType, n, rng));
    return img;
}

ImageDescription withType(ImageDescription d, eImageBufferType::domain t) {
    d.bufferType = t;
    return d;
}

void expectAdd(const image::BaseImage& a, const image::BaseImage& b, const image::BaseImage& out) {
    const auto va = test::imageValues(a), vb = test::imageValues(b), vo = test::imageValues(out);
    const auto ta = test::typeInfo(a.getBufferType()), tb = test::typeInfo(b.getBufferType()),
               tc = test::typeInfo(out.getBufferType());
    for (std::size_t i = 0; i < vo.size(); ++i) {
        const double expected = test::referenceBinary(test::Op::eAdd, ta, va[i], tb, vb[i], tc);
        ASSERT_TRUE(test::sameValue(expected, vo[i]))
            << "pixel " << i << ": " << va[i] << " + " << vb[i] << " gave " << vo[i] << ", expected " << expected;
    }
}

std::vector<ImageDescription> geometries() {
    std::vector<ImageDescription> g;
    g.push_back(ImageDescription::make2d(eImageBufferType::eUInt8, 67, 13));
    g.push_back(ImageDescription::make3d(eImageBufferType::eUInt8, 9, 7, 5));
    ImageDescription colour = ImageDescription::make2d(eImageBufferType::eUInt8, 31, 3);
    colour.color = image::ColorGeometry::multiChannel(3);
    g.push_back(colour);
    ImageDescription sequence = ImageDescription::make2d(eImageBufferType::eUInt8, 1, 65);
    sequence.temporal = image::TemporalGeometry::sequence(4);
    g.push_back(sequence);
    ImageDescription all = ImageDescription::make3d(eImageBufferType::eUInt8, 65, 2, 3);
    all.color = image::ColorGeometry::multiChannel(2);
    all.temporal = image::TemporalGeometry::sequence(2);
    g.push_back(all);
    return g;
}

}  // namespace

TEST(AddImgImg, EveryTypeTripleMatchesReference) {
    StandardKernels standard;
    std::mt19937 rng(1);
    const auto base = ImageDescription::make2d(eImageBufferType::eUInt8, 67, 13);
    for (auto ta : s_plainTypes)
        for (auto tb : s_plainTypes)
            for (auto tc : s_plainTypes) {
                SCOPED_TRACE(std::string(image::bufferTypeName(ta)) + " + " + image::bufferTypeName(tb) + " -> " +
                             image::bufferTypeName(tc));
                auto a = randomImage(withType(base, ta), rng);
                auto b = randomImage(withType(base, tb), rng);
                auto out = image::Image::create(withType(base, tc));
                addImgImg(a, b, out);
                expectAdd(*a, *b, *out);
            }
}

TEST(AddImgImg, EveryGeometryAndLargeImagesUseEverySubImageAndStrip) {
    StandardKernels standard;
    std::mt19937 rng(2);
    auto descs = geometries();
    descs.push_back(ImageDescription::make2d(eImageBufferType::eUInt8, 1001, 301));  // many strips
    for (const ImageDescription& d : descs) {
        SCOPED_TRACE(d.toString());
        auto a = randomImage(withType(d, eImageBufferType::eInt16), rng);
        auto b = randomImage(withType(d, eImageBufferType::eUInt8), rng);
        auto out = addImgImg(a, b);
        EXPECT_TRUE(out->getDescription().sameSize(d));
        EXPECT_EQ(out->getVolumeGeometry(), d.volume);
        EXPECT_EQ(out->getColorGeometry(), d.color);
        EXPECT_EQ(out->getTemporalGeometry(), d.temporal);
        expectAdd(*a, *b, *out);
    }
}

TEST(AddImgImg, InPlaceEqualsOutOfPlace) {
    StandardKernels standard;
    std::mt19937 rng(3);
    for (const ImageDescription& d : geometries()) {
        for (auto t : {eImageBufferType::eUInt8, eImageBufferType::eInt32, eImageBufferType::eFloat}) {
            auto a = randomImage(withType(d, t), rng);
            auto b = randomImage(withType(d, t), rng);
            auto expected = image::Image::create(withType(d, t));
            addImgImg(a, b, expected);
            addImgImg(a, b, a);  // first input is also the output
            EXPECT_EQ(test::imageValues(*a).size(), test::imageValues(*expected).size());
            const auto va = test::imageValues(*a), ve = test::imageValues(*expected);
            for (std::size_t i = 0; i < va.size(); ++i) ASSERT_TRUE(test::sameValue(ve[i], va[i])) << i;
        }
    }
}

TEST(AbsImg, EveryTypePairAndGeometryMatchesReference) {
    StandardKernels standard;
    std::mt19937 rng(4);
    for (const ImageDescription& d : geometries())
        for (auto ta : s_plainTypes)
            for (auto tc : s_plainTypes) {
                SCOPED_TRACE(d.toString() + " -> " + image::bufferTypeName(tc));
                auto a = randomImage(withType(d, ta), rng);
                auto out = image::Image::create(withType(d, tc));
                absImg(a, out);
                const auto va = test::imageValues(*a), vo = test::imageValues(*out);
                for (std::size_t i = 0; i < vo.size(); ++i) {
                    const double e = test::referenceAbs(test::typeInfo(ta), va[i], test::typeInfo(tc));
                    ASSERT_TRUE(test::sameValue(e, vo[i])) << "|" << va[i] << "| gave " << vo[i] << ", expected " << e;
                }
            }
}

TEST(AbsImg, DocumentedCornerCases) {
    StandardKernels standard;
    auto in = image::Image::create2d(eImageBufferType::eInt16, 3, 1);
    in->setValue(-32768, 0, 0);
    in->setValue(-5, 1, 0);
    in->setValue(7, 2, 0);
    auto same = image::Image::create2d(eImageBufferType::eInt16, 3, 1);
    absImg(in, same);
    EXPECT_EQ(same->getValue(0, 0), -32768.0);
    auto promoted = absImg(in);
    EXPECT_EQ(promoted->getBufferType(), eImageBufferType::eUInt16);
    EXPECT_EQ(promoted->getValue(0, 0), 32768.0);
    EXPECT_EQ(promoted->getValue(1, 0), 5.0);

    auto f = image::Image::create2d(eImageBufferType::eFloat, 1, 1);
    f->setValue(-0.0, 0, 0);
    auto fa = absImg(f);
    EXPECT_FALSE(std::signbit(fa->at<float>(0, 0)));
}

// ---- rules and outputs --------------------------------------------------------------------

namespace {

std::vector<std::byte> rawBytes(const image::BaseImage& img) {
    const auto* p = static_cast<const std::byte*>(img.planeData());
    return {p, p + img.getPlaneSize() * img.getElementSize()};
}

}  // namespace

TEST(AddImgImg, DifferentInputSizesFailWithClearMessage) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    auto b = image::Image::create2d(eImageBufferType::eUInt8, 8, 9);
    try {
        addImgImg(a, b);
        FAIL() << "expected a failure";
    } catch (const processor::VIMRABaseProcessingException& e) {
        const std::string m = e.what();
        EXPECT_NE(m.find("matchSize"), std::string::npos) << m;
        EXPECT_NE(m.find("InImg1"), std::string::npos) << m;
        EXPECT_NE(m.find("InImg2"), std::string::npos) << m;
        EXPECT_NE(m.find("8x9"), std::string::npos) << m;
    }
}

TEST(AddImgImg, OutputOfWrongSizeIsRefusedAndLeftUntouched) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    auto b = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    a->fill(1);
    b->fill(2);
    auto out = image::Image::create2d(eImageBufferType::eUInt8, 7, 8);
    out->fill(99);
    const auto before = rawBytes(*out);
    EXPECT_THROW(addImgImg(a, b, out), processor::VIMRABaseProcessingException);
    EXPECT_EQ(rawBytes(*out), before);
}

TEST(AddImgImg, GivenOutputKeepsItsTypeAndIsFilled) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 5, 4);
    auto b = image::Image::create2d(eImageBufferType::eUInt8, 5, 4);
    a->fill(200);
    b->fill(100);
    auto out = image::Image::create2d(eImageBufferType::eUInt8, 5, 4);
    addImgImg(a, b, out);
    EXPECT_EQ(out->getBufferType(), eImageBufferType::eUInt8);
    EXPECT_EQ(out->getValue(4, 3), 44.0);  // wraps in uint8
}

TEST(AddImgImg, RulePolicyOneAttachesNoRule) {
    AddImgImgLvl1 p;
    p.init(processor::eRulePolicy::eRulesOff);
    EXPECT_FALSE(p.getRule());
    p.init(processor::eRulePolicy::eRulesOn);
    ASSERT_TRUE(p.getRule());
    EXPECT_EQ(p.getRule()->describe(), "matchSize(InImg1, InImg2, OutImg)");
}

TEST(AddImgImg, AccessorsBeforeInitThrowNamingTheAccessor) {
    auto p = boost::make_shared<AddImgImgLvl1>();
    try {
        p->set<imaproc::attr::InImg1>(image::Image::create2d(eImageBufferType::eUInt8, 1, 1));
        FAIL();
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("set"), std::string::npos);
        EXPECT_NE(e.getContext().find("Processor.h"), std::string::npos);
    }
    EXPECT_THROW(p->getStorage<imaproc::attr::OutImg>(), processor::VIMRABaseProcessingException);
}

TEST(AddImgImg, MissingMandatoryInputFails) {
    auto p = boost::make_shared<AddImgImgLvl1>();
    p->init();
    p->set<imaproc::attr::InImg1>(image::Image::create2d(eImageBufferType::eUInt8, 1, 1));
    try {
        processor::executeSyncRun(p);
        FAIL();
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("InImg2"), std::string::npos) << e.what();
    }
}

TEST(Identity, NamesVersionsAndCopySupport) {
    EXPECT_EQ(AddImgImgLvl1::getTypeName(), "vimra::imaproc::arithm::AddImgImgLvl1");
    EXPECT_EQ(AddImgImgLvl2::getTypeName(), "vimra::imaproc::arithm::AddImgImgLvl2");
    EXPECT_EQ(AbsImgLvl3::getTypeName(), "vimra::imaproc::arithm::AbsImgLvl3");
    EXPECT_EQ(AddImgImgLvl1::getObjectNameStr(), "AddImgImgLvl1");
    EXPECT_EQ(AddImgImgLvl1::getToolTipStr(), "Level 1 algorithm: addition of 2 images, pixel by pixel");
    EXPECT_EQ(AddImgImgLvl3::getToolTipStr(), "Level 3 algorithm: addition of 2 images, pixel by pixel");
    EXPECT_EQ(AbsImgLvl2::getToolTipStr(),
              "Level 2 algorithm: computation of the absolute value of an image, pixel by pixel");
    EXPECT_EQ(AddImgImgLvl1::getVersion(), 1u);
    AddImgImgLvl1 p;
    EXPECT_FALSE(p.hasCopySupport());
    EXPECT_THROW(p.duplicate(), core::BaseException);
    EXPECT_EQ(p.getClassName(), AddImgImgLvl1::getTypeName());
    EXPECT_TRUE(p.getAttributeNameColl().empty());
    p.init();
    EXPECT_EQ(p.getAttributeNameColl(), (std::vector<std::string>{"InImg1", "InImg2", "OutImg"}));
    EXPECT_TRUE(AddImgImgLvl1::getDefaultDispatchPolicy().isInitialized());
}

// ---- asynchronous runs --------------------------------------------------------------------

TEST(Async, ConcurrentRunsFromSeveralThreadsAreCorrect) {
    std::mt19937 rng(5);
    const auto d = ImageDescription::make2d(eImageBufferType::eInt16, 257, 129);
    auto a = randomImage(d, rng);
    auto b = randomImage(d, rng);
    auto expected = image::Image::create(withType(d, eImageBufferType::eInt32));
    addImgImg(a, b, expected);

    constexpr int threads = 4, runsPerThread = 8;
    std::vector<std::thread> workers;
    std::vector<boost::shared_ptr<AddImgImgLvl1>> runs(threads * runsPerThread);
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
            for (int r = 0; r < runsPerThread; ++r) runs[t * runsPerThread + r] = addImgImg_async(a, b);
        });
    for (auto& w : workers) w.join();
    for (auto& run : runs) {
        run->wait();
        auto out = getAsyncProcessorOutput(run);
        ASSERT_TRUE(out);
        EXPECT_EQ(test::imageValues(*out), test::imageValues(*expected));
    }
}

TEST(Async, FailureIsReportedToTheWaiter) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 4, 4);
    auto b = image::Image::create2d(eImageBufferType::eUInt8, 5, 4);
    auto run = addImgImg_async(a, b);
    processor::BoolResult r = run->waitForCompletion();
    EXPECT_FALSE(r);
    EXPECT_NE(r.getMessage().find("matchSize"), std::string::npos);
    EXPECT_THROW(run->wait(), processor::VIMRABaseProcessingException);
    EXPECT_FALSE(getAsyncProcessorOutput(run));
}

TEST(Async, CancellationStopsALongRun) {
    // Many planes of many strips: far more work than the time to cancel.
    ImageDescription d = ImageDescription::make3d(eImageBufferType::eFloat, 512, 512, 32);
    auto a = image::Image::create(d);
    auto b = image::Image::create(d);
    auto out = image::Image::create(d);
    auto run = addImgImg_async(a, b, out);
    run->requestCancellation();
    processor::BoolResult r = run->waitForCompletion();
    EXPECT_FALSE(r);
    EXPECT_NE(r.getMessage().find("cancel"), std::string::npos) << r.getMessage();
}

TEST(Async, OutputGivenToAsyncRunIsFilled) {
    auto a = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    auto b = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    a->fill(1.5);
    b->fill(2.25);
    auto out = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    auto run = addImgImg_async(a, b, out);
    run->wait();
    EXPECT_EQ(getAsyncProcessorOutput(run), out);
    EXPECT_EQ(out->getValue(32, 16), 3.75);
}

TEST(Async, RacingStartsOnOneProcessorAreRefusedOrRunCleanly) {
    // Two threads start the same processor at once, many times; a run with no
    // inputs fails at once, so a finished run and the next start overlap.
    for (int k = 0; k < 300; ++k) {
        auto p = boost::make_shared<AddImgImgLvl1>();
        p->init();
        std::atomic<int> ready{0};
        auto start = [&] {
            ++ready;
            while (ready < 2) {
            }
            p->run(processor::eSynchronisationType::eAsynchronous);
        };
        std::thread t1(start), t2(start);
        t1.join();
        t2.join();
        EXPECT_FALSE(p->waitForCompletion());
    }
}

TEST(Async, ProcessorNotOwnedBySharedPointerIsRefused) {
    AddImgImgLvl1 p;
    p.init();
    processor::BoolResult r = p.run(processor::eSynchronisationType::eAsynchronous);
    EXPECT_FALSE(r);
    EXPECT_NE(r.getMessage().find("shared pointer"), std::string::npos);
    EXPECT_FALSE(p.isRunning());
}
