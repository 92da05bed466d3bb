// The choice of streaming stores: the rule, the cache it counts on, the
// process-wide override, and its making once per run by the processor that
// sees the run's output images.

#include <vimra/processor/ProcessorClass.h>
#include <vimra/processor/Streaming.h>

#include <gtest/gtest.h>

#include <optional>
#include <thread>

using namespace vimra;
using namespace vimra::processor;

namespace {

constexpr std::uint64_t MiB = std::uint64_t{1} << 20;

/// Restores the process-wide settings a test changes.
class StreamingSettings : public ::testing::Test {
  protected:
    void TearDown() override {
        setStreamingStores(eStreamingStores::eAuto);
        setStreamingCacheBytes(0);
    }
};

TEST(StreamingRule, StreamsWhatWritesMoreThanHalfTheCache) {
    struct Case {
        std::uint64_t written, cache;
        bool stream;
    };
    const Case cases[] = {
        {0, 16 * MiB, false},          {4096, 16 * MiB, false},       {8 * MiB, 16 * MiB, false},
        {8 * MiB + 1, 16 * MiB, true}, {16 * MiB, 16 * MiB, true},    {64 * MiB, 16 * MiB, true},
        {64 * 1024, 1, true},          {0, 0, false},                 {1, 0, true},
        {100 * MiB, 260 * MiB, false}, {131 * MiB, 260 * MiB, true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(streamingWanted(c.written, c.cache), c.stream) << c.written << " bytes written, cache " << c.cache;
}

TEST(StreamingRule, CountsOnTheReportedCacheUpToTheCapPerThread) {
    struct Case {
        std::uint64_t reported;
        unsigned threads;
        std::uint64_t usable;
    };
    const Case cases[] = {
        {508 * MiB, 2, 2 * s_cachePerThreadCap},  // a virtual machine shown the host's whole socket
        {32 * MiB, 16, 32 * MiB},                  // a desktop: the cache as reported
        {32 * MiB, 2, 2 * s_cachePerThreadCap},
        {1 * MiB, 1, 1 * MiB},
        {0, 4, 4 * s_cachePerThreadCap},           // nothing reported
        {64 * MiB, 0, s_cachePerThreadCap},        // thread count unknown: one
    };
    for (const Case& c : cases)
        EXPECT_EQ(usableCacheBytes(c.reported, c.threads), c.usable) << c.reported << " bytes, " << c.threads;
}

TEST_F(StreamingSettings, OverridesDecideWhateverTheSize) {
    setStreamingCacheBytes(2 * MiB);
    EXPECT_EQ(getStreamingCacheBytes(), 2 * MiB);
    EXPECT_FALSE(chooseStreaming(1 * MiB));
    EXPECT_TRUE(chooseStreaming(1 * MiB + 1));

    setStreamingStores(eStreamingStores::eOn);
    EXPECT_TRUE(chooseStreaming(0));
    EXPECT_TRUE(chooseStreaming(64));
    setStreamingStores(eStreamingStores::eOff);
    EXPECT_FALSE(chooseStreaming(std::uint64_t{1} << 40));
    EXPECT_EQ(getStreamingStores(), eStreamingStores::eOff);

    setStreamingStores(eStreamingStores::eAuto);
    setStreamingCacheBytes(0);
    EXPECT_EQ(getStreamingCacheBytes(), usableCacheBytes(lastLevelCacheBytes(), std::thread::hardware_concurrency()));
}

TEST(RunContextStreaming, FirstDecisionStands) {
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    RunContext off(policy);
    EXPECT_FALSE(off.isStreamingDecided());
    EXPECT_FALSE(off.useStreamingStores());
    off.decideStreamingStores(false);
    off.decideStreamingStores(true);
    EXPECT_TRUE(off.isStreamingDecided());
    EXPECT_FALSE(off.useStreamingStores());

    RunContext on(policy);
    on.decideStreamingStores(true);
    on.decideStreamingStores(false);
    EXPECT_TRUE(on.useStreamingStores());
}

// ---- the decision inside a run ------------------------------------------------------------

using OutImg = Attribute<"OutImg", BaseOutputImageAttribute>;
using OutImg2 = Attribute<"OutImg2", BaseOutputImageAttribute>;

/// Records what the run's context says when its work starts. With `nested`, its
/// work is a second processor in the same run, as a level below would be. It has
/// 0, 1 or 2 output images.
class Recorder final : public ProcessorClass<Recorder> {
  public:
    explicit Recorder(int outputs = 1) : m_outputs(outputs) {}
    static std::string typeNameText() { return "test::StreamingRecorder"; }
    static std::string objectNameText() { return typeNameText(); }
    static std::string toolTipText() { return "records the run's streaming choice"; }

    std::optional<bool> seen;
    boost::shared_ptr<Recorder> nested;

  protected:
    BoolResult initDerived(AttributeColl& attributes, OutputInitializerMap& initializers,
                           ProcessorDispatchPolicy& policy, RulePtr& rule, unsigned) override {
        attributes.clear();
        if (m_outputs > 0) attributes.push_back(boost::make_shared<OutImg>());
        if (m_outputs > 1) attributes.push_back(boost::make_shared<OutImg2>());
        initializers.clear();
        policy.initDefault();
        rule.reset();
        return BoolResult::success();
    }
    BoolResult runDerived(RunContext& context) override {
        seen = context.isStreamingDecided() ? std::optional<bool>(context.useStreamingStores()) : std::nullopt;
        return nested ? nested->execute(context) : BoolResult::success();
    }

  private:
    int m_outputs;
};

image::ImagePtr imageOf(image::eImageBufferType::domain type, std::uint64_t x, std::uint64_t y, std::uint64_t z = 1) {
    return image::Image::create3d(type, x, y, z);
}

std::optional<bool> seenBy(const boost::shared_ptr<Recorder>& p) {
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    RunContext context(policy);
    EXPECT_TRUE(p->execute(context));
    return p->seen;
}

boost::shared_ptr<Recorder> recorder(image::ImagePtr out, image::ImagePtr out2 = {}) {
    auto p = boost::make_shared<Recorder>(out2 ? 2 : out ? 1 : 0);
    EXPECT_TRUE(p->init());
    if (out) p->set<OutImg>(out);
    if (out2) p->set<OutImg2>(out2);
    return p;
}

TEST_F(StreamingSettings, DecidedFromTheBytesOfEveryOutputImage) {
    using T = image::eImageBufferType;
    setStreamingCacheBytes(2 * 4096);  // streams above 4096 bytes written
    struct Case {
        image::ImagePtr out, out2;
        bool stream;
    };
    const Case cases[] = {
        {imageOf(T::eUInt8, 64, 64), {}, false},          // exactly 4096 bytes
        {imageOf(T::eUInt8, 65, 64), {}, true},
        {imageOf(T::eFloat, 32, 32), {}, false},          // 1024 pixels of 4 bytes
        {imageOf(T::eFloat, 32, 33), {}, true},
        {imageOf(T::eUInt16, 16, 16, 8), {}, false},      // planes count, padding does not
        {imageOf(T::eUInt16, 16, 16, 9), {}, true},
        {imageOf(T::eUInt8, 32, 64), imageOf(T::eUInt8, 32, 64), false},
        {imageOf(T::eUInt8, 32, 64), imageOf(T::eUInt8, 33, 64), true},  // the outputs add up
    };
    for (const Case& c : cases) {
        const std::optional<bool> seen = seenBy(recorder(c.out, c.out2));
        ASSERT_TRUE(seen.has_value());
        EXPECT_EQ(*seen, c.stream) << c.out->getSizeX() << "x" << c.out->getSizeY() << "x" << c.out->getSizeZ()
                                   << (c.out2 ? " and a second output" : "");
    }
}

TEST_F(StreamingSettings, TheOuterProcessorDecidesForTheWholeRun) {
    setStreamingCacheBytes(2 * 4096);
    for (const bool large : {false, true}) {
        auto outer = recorder(imageOf(image::eImageBufferType::eUInt8, large ? 1000 : 10, 10));
        outer->nested = recorder(imageOf(image::eImageBufferType::eUInt8, large ? 10 : 1000, 10));
        EXPECT_EQ(seenBy(outer), large);
        EXPECT_EQ(outer->nested->seen, large) << "a sub-run decided again";
    }
}

TEST_F(StreamingSettings, OverrideReachesTheRunAndStripProcessorsDecideNothing) {
    const auto small = [] { return recorder(imageOf(image::eImageBufferType::eUInt8, 8, 8)); };
    setStreamingStores(eStreamingStores::eOn);
    EXPECT_EQ(seenBy(small()), true);
    setStreamingStores(eStreamingStores::eOff);
    setStreamingCacheBytes(1);
    EXPECT_EQ(seenBy(small()), false);
    // No output image (a strip processor run on its own): plain stores, undecided.
    setStreamingStores(eStreamingStores::eOn);
    EXPECT_EQ(seenBy(recorder({})), std::nullopt);
}

}  // namespace
