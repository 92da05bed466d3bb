// The level machinery's capabilities, each exercised by a small operation
// declared here the way the library's operations are: inputs sharing one type,
// a parameter with a default, two outputs, strips of planes, a level-3 rule, a
// level 2 that runs another level-1 algorithm on its piece; and the failures of
// hostile callers (null processors and outputs, missing attributes,
// uninitialised processors).

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include <Frame/Registration.h>
#include <Processor/AddImgImg/AddImgImgArithmetic.h>

#include <vimra/processor/ProcessorFactory.h>
#include <vimra/processor/ProcessorMessages.h>

#include "framework/core/LogCapture.h"
#include "support/Reference.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>

using namespace vimra;
using image::eImageBufferType;

namespace vimra::imaproc::arithm {

// ---- two inputs of one type, a parameter with a default, two outputs ---------------------

struct PairTestOperation {
    static constexpr const char* s_name = "PairTest";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAddImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAddImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAddImgImgLvl3;
    using Inputs = TypeList<shape::In1, shape::In2>;
    using Values = TypeList<ValueChain<attr::InOptBlendMultiplier, 0.5>>;
    using Outputs =
        TypeList<OutputChain<attr::OutImg1, attr::OutImg1, attr::OutYStrip2d1,
                             FixedTypeOutput<attr::InImg1, eImageBufferType::eFloat, attr::OutImg1>>,
                 OutputChain<attr::OutImg2, attr::OutImg2, attr::OutYStrip2d2, DuplicateOutput<attr::InImg1, attr::OutImg2>>>;
    using Rule = SizeAndInputTypeRule;
    struct Lvl3Rule;
};

/// Counts its checks; fails while `s_refuse` is set.
struct CountingRule final : processor::BaseRule {
    static inline std::atomic<int> s_checks{0};
    static inline std::atomic<bool> s_refuse{false};
    processor::BoolResult check() const override {
        ++s_checks;
        return s_refuse ? processor::BoolResult::failure("refused by the counting rule")
                        : processor::BoolResult::success();
    }
    std::string describe() const override { return "countingRule()"; }
};
struct PairTestOperation::Lvl3Rule {
    template <class Level>
    static processor::RulePtr make(const Level&) {
        return boost::make_shared<CountingRule>();
    }
};

/// out1 = a * factor + b in float; out2 = 1 where a > b, else 0.
struct PairTestArithmetic : kernel::FamilyDefaults {
    using Signature = kernel::Signature<kernel::Param<0>, kernel::Param<0>, kernel::Fixed<float>, kernel::Param<1>>;
    static constexpr int s_inputs = 2;
    template <eInstructionSet::domain, class... T>
    struct Bound {
        explicit Bound(const processor::KernelParams& p) : factor(static_cast<float>(p.values[0])) {}
        float factor;
    };
    template <class Op, class A, class C>
    static void pixel(const Op& op, std::uint64_t i, const A* a, const A* b, float* sum, C* greater) {
        sum[i] = static_cast<float>(a[i]) * op.factor + static_cast<float>(b[i]);
        greater[i] = a[i] > b[i] ? C{1} : C{0};
    }
};

class PairTestLvl3 final : public PixelwiseLvl3<PairTestLvl3, PairTestOperation> {
public:
    static inline std::atomic<int> s_parserInits{0}, s_parserClears{0};
    /// Line parsers of the two output strips, as a neighbourhood operation would make them.
    void initDataParserColl(std::vector<image::StripParserPtr>& parsers) override {
        ++s_parserInits;
        parsers = {boost::make_shared<image::BaseLineYStrip2dParser<processor::BaseOutputYStrip2dAttribute>>(
                       *attribute<attr::OutYStrip2d1>()),
                   boost::make_shared<image::BaseLineYStrip2dParser<processor::BaseOutputYStrip2dAttribute>>(
                       *attribute<attr::OutYStrip2d2>())};
        m_lines = boost::static_pointer_cast<image::BaseLineYStrip2dParser<processor::BaseOutputYStrip2dAttribute>>(
            parsers[0]);
    }
    void clearDataParserColl() override {
        ++s_parserClears;
        m_lines.reset();
    }

private:
    boost::shared_ptr<image::BaseLineYStrip2dParser<processor::BaseOutputYStrip2dAttribute>> m_lines;
};
class PairTestLvl2 final : public PixelwiseLvl2<PairTestLvl2, PairTestOperation, PairTestLvl3> {};
class PairTestLvl1 final : public PixelwiseLvl1<PairTestLvl1, PairTestOperation, PairTestLvl2> {};

// ---- strips of planes over 3d sub-images ---------------------------------------------------

struct VolumeAddTestOperation {
    static constexpr const char* s_name = "VolumeAddTest";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAddImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAddImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAddImgImgLvl3;
    using Inputs = TypeList<ImageChain<attr::InImg1, attr::InSubImg3d1, attr::InZStrip3d1>,
                            ImageChain<attr::InImg2, attr::InSubImg3d2, attr::InZStrip3d2>>;
    using Outputs = TypeList<OutputChain<attr::OutImg, attr::OutImg, attr::OutZStrip3d,
                                         PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition>>>;
    using Rule = SizeRule;
    static constexpr auto s_splitType = processor::eSubImageSplitType::eVolume3d;
    static constexpr auto s_stripAxis = processor::eStripAxis::eZ;
};
using VolumeAddTestArithmetic = AddImgImgArithmetic;

class VolumeAddTestLvl3 final : public PixelwiseLvl3<VolumeAddTestLvl3, VolumeAddTestOperation> {};
class VolumeAddTestLvl2 final : public PixelwiseLvl2<VolumeAddTestLvl2, VolumeAddTestOperation, VolumeAddTestLvl3> {};
class VolumeAddTestLvl1 final : public PixelwiseLvl1<VolumeAddTestLvl1, VolumeAddTestOperation, VolumeAddTestLvl2> {};

// ---- a plane added to every plane of a volume, through addImgImg per piece ----------------

struct PlaneBroadcastTestOperation {
    static constexpr const char* s_name = "PlaneBroadcastTest";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAddImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAddImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAddImgImgLvl3;
    using Inputs = TypeList<shape::In1, ImageChain<attr::InImg2, attr::InImg2, attr::InYStrip2d2>>;
    using Outputs = TypeList<shape::Out<PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition, true>>>;
    using Rule = NoRule;

    /// Pieces of the first image and the output; the second image whole to every piece.
    template <class Lvl1>
    static ProcessingResult<bool> chooseProvider(const Lvl1& level, unsigned priority,
                                                 processor::ProviderPtr& provider);
};

class PlaneBroadcastTestLvl2 final
    : public PieceLvl2<PlaneBroadcastTestLvl2, PlaneBroadcastTestOperation, AddImgImgLvl1> {};
class PlaneBroadcastTestLvl1 final
    : public PixelwiseLvl1<PlaneBroadcastTestLvl1, PlaneBroadcastTestOperation, PlaneBroadcastTestLvl2> {};

template <class Lvl1>
ProcessingResult<bool> PlaneBroadcastTestOperation::chooseProvider(const Lvl1& level, unsigned priority,
                                                                   processor::ProviderPtr& provider) {
    using processor::eSubImageSplitType;
    auto out = boost::make_shared<processor::SubImageSplit<PlaneBroadcastTestLvl2, attr::OutImg>>();
    out->initBase(eSubImageSplitType::ePlane2d, 0, 0, 0, level.template attribute<attr::OutImg>()->getValue());
    auto in1 = boost::make_shared<processor::SubImageSplit<PlaneBroadcastTestLvl2, attr::InSubImg2d1>>();
    in1->initBase(eSubImageSplitType::ePlane2d, 0, 0, 0, level.template attribute<attr::InImg1>()->getValue());
    auto in2 = boost::make_shared<processor::StaticNoSplit<attr::InImg2>>();
    in2->initBase(level.template attribute<attr::InImg2>()->getValue());
    auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<PlaneBroadcastTestLvl2>>();
    dispatcher->initBase(priority, {out, in1, in2});
    provider = dispatcher;
    return ProcessingResult<bool>::success(true);
}

}  // namespace vimra::imaproc::arithm

VIMRA_ARITHM_CLASS(PairTestLvl1)
VIMRA_ARITHM_CLASS(PairTestLvl2)
VIMRA_ARITHM_LEVEL3(PairTest)
VIMRA_ARITHM_CLASS(VolumeAddTestLvl1)
VIMRA_ARITHM_CLASS(VolumeAddTestLvl2)
VIMRA_ARITHM_LEVEL3(VolumeAddTest)
VIMRA_ARITHM_CLASS(PlaneBroadcastTestLvl1)
VIMRA_ARITHM_CLASS(PlaneBroadcastTestLvl2)

namespace {

using namespace vimra::imaproc::arithm;
namespace attr = vimra::imaproc::attr;

image::ImagePtr randomImage(const image::ImageDescription& desc, std::mt19937& rng) {
    auto img = image::Image::create(desc);
    test::fillImage(*img, test::randomValues(desc.bufferType, desc.sizeX * desc.sizeY * desc.planeCount(), rng));
    return img;
}

image::ImageDescription description(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                                    std::uint64_t z = 1, std::uint64_t c = 1, std::uint64_t t = 1) {
    auto probe = image::Image::create3d(type, x, y, z);
    image::ImageDescription d = probe->getDescription();
    if (c > 1) d.color = image::ColorGeometry::multiChannel(c);
    if (t > 1) d.temporal = image::TemporalGeometry::sequence(t);
    return d;
}

/// Small strips, so that every run is cut into many; spread over the workers
/// unless `serial`.
template <class P>
void useManyStrips(P& processor, std::uint64_t stripElements, bool serial = false) {
    processor::ProcessorDispatchPolicy policy = processor.getDispatchPolicy();
    policy.setStripTargetElements(stripElements);
    policy.setParallelThreshold(serial ? UINT64_MAX : 0);
    processor.setDispatchPolicy(policy);
}

TEST(Machinery, SharedTypeSignatureRegistersOneKeyPerTypePair) {
    auto& selector = PairTestLvl3::retrieveFunctionSelector();
    EXPECT_EQ(selector.countRegistrations(eInstructionSet::eStandard), 121u);  // 11 input types x 11 output types
    auto key = [](int a, int b, int c, int d) {
        processor::DataTypeIdentifierColl k;
        for (int t : {a, b, c, d}) k.append(static_cast<eImageBufferType::domain>(t));
        return k;
    };
    EXPECT_NE(selector.select(key(2, 2, 7, 4)), nullptr);
    EXPECT_NE(selector.select(key(9, 9, 7, 11)), nullptr);
    EXPECT_EQ(selector.select(key(2, 1, 7, 4)), nullptr) << "inputs of different types share no kernel";
    EXPECT_EQ(selector.select(key(2, 2, 4, 4)), nullptr) << "the first output is always float";
    EXPECT_EQ(processor::findFunctionSelector(PairTestLvl3::getTypeName()), &selector);
}

TEST(Machinery, ParametersReachTheKernelWithTheirDefaults) {
    std::mt19937 rng(7);
    for (auto type : {eImageBufferType::eInt16, eImageBufferType::eFloat, eImageBufferType::eUInt8}) {
        const auto desc = description(type, 67, 9, 2);
        auto a = randomImage(desc, rng), b = randomImage(desc, rng);
        for (bool setFactor : {false, true}) {
            auto p = boost::make_shared<PairTestLvl1>();
            p->init();
            useManyStrips(*p, 128);
            p->set<attr::InImg1>(a);
            p->set<attr::InImg2>(b);
            if (setFactor) p->set<attr::InOptBlendMultiplier>(-3.0f);
            processor::executeSyncRun(p);
            auto [sum, greater] = entry::asyncOutput(p);
            ASSERT_EQ(sum->getBufferType(), eImageBufferType::eFloat);
            ASSERT_EQ(greater->getBufferType(), type);
            const float factor = setFactor ? -3.0f : 0.5f;
            const auto va = test::imageValues(*a), vb = test::imageValues(*b);
            const auto vs = test::imageValues(*sum), vg = test::imageValues(*greater);
            for (std::size_t i = 0; i < va.size(); ++i) {
                ASSERT_TRUE(test::sameValue(static_cast<float>(va[i]) * factor + static_cast<float>(vb[i]), vs[i]))
                    << i;
                ASSERT_EQ(vg[i], va[i] > vb[i] ? 1.0 : 0.0) << i;
            }
        }
    }
}

TEST(Machinery, EntryFunctionsReturnAndFillBothOutputs) {
    std::mt19937 rng(3);
    const auto desc = description(eImageBufferType::eInt32, 40, 30);
    auto a = randomImage(desc, rng), b = randomImage(desc, rng);
    auto created = entry::runCreating<PairTestLvl1>(a, b, 2.0f);
    static_assert(std::is_same_v<decltype(created), std::pair<image::ImagePtr, image::ImagePtr>>);
    auto sum = image::Image::create(description(eImageBufferType::eFloat, 40, 30));
    auto greater = image::Image::create(description(eImageBufferType::eUInt16, 40, 30));
    entry::runInto<PairTestLvl1>(a, b, 2.0f, sum, greater);
    EXPECT_EQ(test::imageValues(*sum), test::imageValues(*created.first));
    const auto g = test::imageValues(*greater), gc = test::imageValues(*created.second);
    EXPECT_EQ(g, gc);

    // A null output is refused before anything runs; the other output stays as it was.
    auto untouched = image::Image::create(description(eImageBufferType::eFloat, 40, 30));
    untouched->fill(42);
    try {
        entry::runInto<PairTestLvl1>(a, b, 2.0f, untouched, image::ImagePtr());
        FAIL() << "a null output was accepted";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("OutImg2"), std::string::npos) << e.what();
    }
    for (double v : test::imageValues(*untouched)) ASSERT_EQ(v, 42.0);
}

TEST(Machinery, RuleOfTheDeclarationRefusesInputsOfDifferentTypes) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 16, 4);
    auto b = image::Image::create2d(eImageBufferType::eInt8, 16, 4);
    EXPECT_THROW(entry::runCreating<PairTestLvl1>(a, b, 1.0f), processor::VIMRABaseProcessingException);
}

TEST(Machinery, LevelThreeRuleIsCheckedOncePerChunkAndStopsTheRun) {
    auto a = image::Image::create2d(eImageBufferType::eFloat, 64, 64);
    auto b = image::Image::create2d(eImageBufferType::eFloat, 64, 64);
    a->fill(3);
    b->fill(1);
    CountingRule::s_checks = 0;
    PairTestLvl3::s_parserInits = 0;
    PairTestLvl3::s_parserClears = 0;
    auto p = boost::make_shared<PairTestLvl1>();
    p->init();
    useManyStrips(*p, 64, true);  // 64 strips of one row, in one chunk on this thread
    p->set<attr::InImg1>(a);
    p->set<attr::InImg2>(b);
    processor::executeSyncRun(p);
    EXPECT_EQ(CountingRule::s_checks.load(), 1) << "the rule must be checked once per chunk, not per strip";
    EXPECT_EQ(PairTestLvl3::s_parserInits.load(), 1) << "parsers are made once per chunk";
    EXPECT_EQ(PairTestLvl3::s_parserClears.load(), 1);

    auto sum = image::Image::create2d(eImageBufferType::eFloat, 64, 64);
    auto greater = image::Image::create2d(eImageBufferType::eFloat, 64, 64);
    sum->fill(-1);
    greater->fill(-1);
    CountingRule::s_refuse = true;
    try {
        entry::runInto<PairTestLvl1>(a, b, 1.0f, sum, greater);
        ADD_FAILURE() << "the level-3 rule did not stop the run";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("refused by the counting rule"), std::string::npos) << e.what();
    }
    CountingRule::s_refuse = false;
    for (double v : test::imageValues(*sum)) ASSERT_EQ(v, -1.0);
}

TEST(Machinery, StripsOfPlanesCoverEveryVolumeOfEveryChannelAndTimeStep) {
    std::mt19937 rng(11);
    for (std::uint64_t stripElements : {1u, 700u, 100000u}) {
        const auto desc = description(eImageBufferType::eUInt16, 33, 17, 5, 2, 3);
        auto a = randomImage(desc, rng), b = randomImage(desc, rng);
        auto p = boost::make_shared<VolumeAddTestLvl1>();
        p->init();
        useManyStrips(*p, stripElements);
        p->set<attr::InImg1>(a);
        p->set<attr::InImg2>(b);
        processor::executeSyncRun(p);
        auto out = p->getStorage<attr::OutImg>();
        EXPECT_EQ(test::imageValues(*out), test::imageValues(*addImgImg(a, b))) << stripElements;
    }
}

TEST(Machinery, LevelTwoRunsAnotherLevelOneOnEachPiece) {
    std::mt19937 rng(5);
    auto volume = randomImage(description(eImageBufferType::eInt16, 21, 13, 4, 1, 2), rng);
    auto plane = randomImage(description(eImageBufferType::eInt16, 21, 13), rng);
    auto p = boost::make_shared<PlaneBroadcastTestLvl1>();
    p->init();
    p->set<attr::InImg1>(volume);
    p->set<attr::InImg2>(plane);
    processor::executeSyncRun(p);
    auto out = p->getStorage<attr::OutImg>();
    ASSERT_EQ(out->getPlaneCount(), volume->getPlaneCount());
    for (std::uint64_t t = 0; t < 2; ++t)
        for (std::uint64_t z = 0; z < 4; ++z) {
            auto piece = image::ImageView::create(image::ConstImagePtr(volume), image::ImageView::Box{z, 1, 0, 1, t, 1});
            auto expected = addImgImg(piece, plane);
            auto got = image::ImageView::create(image::ConstImagePtr(out), image::ImageView::Box{z, 1, 0, 1, t, 1});
            ASSERT_EQ(test::imageValues(*got), test::imageValues(*expected)) << z << "," << t;
        }

    // A piece whose run fails (a plane of another size) fails the whole run.
    auto wrong = image::Image::create2d(eImageBufferType::eInt16, 20, 13);
    auto q = boost::make_shared<PlaneBroadcastTestLvl1>();
    q->init();
    q->set<attr::InImg1>(volume);
    q->set<attr::InImg2>(wrong);
    EXPECT_THROW(processor::executeSyncRun(q), processor::VIMRABaseProcessingException);
}

// ---- hostile callers --------------------------------------------------------------------------

TEST(HostileCallers, NullProcessorForTheAsynchronousOutput) {
    EXPECT_THROW(getAsyncProcessorOutput(boost::shared_ptr<AddImgImgLvl1>()), processor::VIMRABaseProcessingException);
}

TEST(HostileCallers, NullOutputForTheGivenOutputForm) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    EXPECT_THROW(addImgImg(a, a, image::ImagePtr()), processor::VIMRABaseProcessingException);
}

TEST(HostileCallers, EveryLevelCreatedByNameAndRunWithoutItsOutputFailsCleanly) {
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    for (const char* name : {"vimra::imaproc::arithm::AddImgImgLvl2", "vimra::imaproc::arithm::PairTestLvl2"}) {
        for (unsigned rules : {0u, 1u}) {
            auto p = boost::dynamic_pointer_cast<processor::BaseAsyncProcessor>(
                processor::ProcessorFactory::getInstance().createProcessor(name));
            ASSERT_TRUE(p) << name;
            p->init(rules);
            p->set<attr::InSubImg2d1>(a);
            p->set<attr::InSubImg2d2>(a);
            try {
                processor::executeSyncRun(p);
                ADD_FAILURE() << name << " ran without its output";
            } catch (const processor::VIMRABaseProcessingException& e) {
                EXPECT_NE(std::string(e.what()).find("OutImg"), std::string::npos) << e.what();
            }
        }
    }
}

TEST(HostileCallers, LevelThreeCreatedByNameAndRunWithoutStripsFailsCleanly) {
    auto p = boost::dynamic_pointer_cast<processor::BaseAsyncProcessor>(
        processor::ProcessorFactory::getInstance().createProcessor("vimra::imaproc::arithm::AddImgImgLvl3"));
    ASSERT_TRUE(p);
    p->init();
    EXPECT_THROW(processor::executeSyncRun(p), processor::VIMRABaseProcessingException);
}

TEST(HostileCallers, UninitialisedProcessorLogsAnErrorNamingItThenThrows) {
    test::ScopedLogCapture capture(processor::getBaseProcessingLogger());
    AddImgImgLvl1 p;
    auto a = image::Image::create2d(eImageBufferType::eUInt8, 8, 8);
    EXPECT_THROW(p.set<attr::InImg1>(a), processor::VIMRABaseProcessingException);
    EXPECT_THROW(p.getStorage<attr::OutImg>(), processor::VIMRABaseProcessingException);
    const auto records = capture.appender().records();
    ASSERT_EQ(records.size(), 2u);
    for (const auto& r : records) {
        EXPECT_EQ(r.level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_NE(r.message.find("AddImgImgLvl1"), std::string::npos) << r.message;
    }
}

}  // namespace

namespace {

TEST(HostileCallers, NullRangeArgumentIsRefusedByName) {
    using Range = entry::Argument<vimra::imaproc::attr::InOutputRange>;
    const auto range = boost::make_shared<const processor::Range>(processor::Range{1.0, 2.0});
    EXPECT_EQ(Range::convert(range, &PairTestLvl1::getTypeName).Max, 2.0);
    try {
        Range::convert(Range::type(), &PairTestLvl1::getTypeName);
        FAIL() << "a null range was accepted";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("InOutputRange"), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("PairTestLvl1"), std::string::npos) << e.what();
    }
}

}  // namespace
