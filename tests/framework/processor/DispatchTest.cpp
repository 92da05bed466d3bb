// Sub-image boxes, the parallel loop's failure handling and the strip cuts of the dispatchers.

#include <vimra/processor/Dispatcher.h>

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <stdexcept>

using namespace vimra;
using namespace vimra::processor;

namespace {

image::ImageDescription colourSequenceVolume() {
    auto d = image::ImageDescription::make3d(image::eImageBufferType::eUInt8, 3, 2, 4);
    d.color = image::ColorGeometry::multiChannel(3);
    d.temporal = image::TemporalGeometry::sequence(2);
    return d;
}

}  // namespace

TEST(SubImageSplit, BoxesCoverEveryPlaneExactlyOnce) {
    auto img = image::Image::create(colourSequenceVolume());
    for (auto type : {eSubImageSplitType::ePlane2d, eSubImageSplitType::eColor2d, eSubImageSplitType::eSequence2d,
                      eSubImageSplitType::eVolume3d, eSubImageSplitType::eColor3d}) {
        std::multiset<std::tuple<std::uint64_t, std::uint64_t, std::uint64_t>> planes;
        const std::uint64_t n = subImageCount(*img, type);
        for (std::uint64_t i = 0; i < n; ++i) {
            const auto b = subImageBox(*img, type, i);
            auto view = image::ImageView::create(image::ConstImagePtr(img), b);  // throws if outside
            for (std::uint64_t z = 0; z < b.sizeZ; ++z)
                for (std::uint64_t c = 0; c < b.sizeC; ++c)
                    for (std::uint64_t t = 0; t < b.sizeT; ++t) planes.insert({b.z0 + z, b.c0 + c, b.t0 + t});
        }
        EXPECT_EQ(planes.size(), 4u * 3u * 2u) << type;
        EXPECT_EQ(std::set(planes.begin(), planes.end()).size(), planes.size()) << type;
    }
    EXPECT_EQ(subImageCount(*img, eSubImageSplitType::ePlane2d), 24u);
    EXPECT_EQ(subImageCount(*img, eSubImageSplitType::eColor3d), 2u);
}

TEST(ParallelFor, RunsEveryIndexOnce) {
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    RunContext context(policy);
    std::vector<std::atomic<int>> hits(1000);
    BoolResult r = parallelFor(context, hits.size(), [&](std::uint64_t b, std::uint64_t e) {
        for (std::uint64_t i = b; i < e; ++i) hits[i]++;
        return BoolResult::success();
    });
    EXPECT_TRUE(r);
    for (auto& h : hits) EXPECT_EQ(h.load(), 1);
}

TEST(ParallelFor, FirstFailureAndExceptionsAreReported) {
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    {
        RunContext context(policy);
        BoolResult r = parallelFor(context, 100, [](std::uint64_t b, std::uint64_t e) {
            return b <= 50 && 50 < e ? BoolResult::failure("strip failed") : BoolResult::success();
        });
        EXPECT_FALSE(r);
        EXPECT_EQ(r.getMessage(), "strip failed");
    }
    {
        RunContext context(policy);
        BoolResult r = parallelFor(context, 100, [](std::uint64_t, std::uint64_t) -> BoolResult {
            throw std::runtime_error("worker threw");
        });
        EXPECT_FALSE(r);
        EXPECT_EQ(r.getMessage(), "worker threw");
    }
    {
        RunContext context(policy);
        context.requestCancellation();
        BoolResult r = parallelFor(context, 10, [](std::uint64_t, std::uint64_t) { return BoolResult::success(); });
        EXPECT_FALSE(r);
        EXPECT_NE(r.getMessage().find("cancel"), std::string::npos);
    }
}

// ---- strips read through a neighbourhood --------------------------------------------------

#include <vimra/processor/ProcessorClass.h>

namespace {

using InKernelY = processor::Attribute<"InKernelYStrip", BaseInputYStrip2dWithKernelAttribute>;
using InKernelZ = processor::Attribute<"InKernelZStrip", BaseInputZStrip3dWithKernelAttribute>;
using OutY = processor::Attribute<"OutYStrip2d", BaseOutputYStrip2dAttribute>;
using OutZ = processor::Attribute<"OutZStrip3d", BaseOutputZStrip3dAttribute>;

/// out(x, y) = in(x, y - 1) and out(x, y, z) = in(x, y, z - 1), reading outside
/// the image as its nearest pixel: each strip needs the row (plane) before it.
template <bool AlongZ>
class ShiftLvl3 final : public ProcessorClass<ShiftLvl3<AlongZ>> {
    using In = std::conditional_t<AlongZ, InKernelZ, InKernelY>;
    using Out = std::conditional_t<AlongZ, OutZ, OutY>;

public:
    static std::string typeNameText() { return AlongZ ? "test::ShiftZLvl3" : "test::ShiftYLvl3"; }
    static std::string objectNameText() { return typeNameText(); }
    static std::string toolTipText() { return "shift by one row or plane"; }

protected:
    BoolResult initDerived(AttributeColl& attributes, OutputInitializerMap& initializers, ProcessorDispatchPolicy& policy,
                           RulePtr& rule, unsigned) override {
        m_in = boost::make_shared<In>();
        m_out = boost::make_shared<Out>();
        attributes = {m_in, m_out};
        initializers.clear();
        policy.initDefault();
        rule.reset();
        return BoolResult::success();
    }
    BoolResult runDerived(RunContext&) override {
        const auto& in = m_in->getStrip();
        const auto& out = m_out->getStrip();
        in.widenInto(m_buffer, image::BorderPolicy::nearest());
        std::uint64_t planes = 1;
        if constexpr (AlongZ) planes = out.getSizeZ();
        const std::uint64_t rows = out.getSizeY();
        for (std::uint64_t p = 0; p < planes; ++p)
            for (std::uint64_t r = 0; r < rows; ++r) {
                const auto row = static_cast<std::int64_t>(r), plane = static_cast<std::int64_t>(p);
                const auto* src = static_cast<const std::uint16_t*>(AlongZ ? m_buffer.row(row, plane - 1)
                                                                           : m_buffer.row(row - 1, plane));
                void* row0 = nullptr;
                if constexpr (AlongZ) {
                    row0 = out.getRow(r, p);
                } else {
                    row0 = out.getRow(r);
                }
                auto* dst = static_cast<std::uint16_t*>(row0);
                std::copy(src, src + out.getSizeX(), dst);
            }
        return BoolResult::success();
    }

private:
    boost::shared_ptr<In> m_in;
    boost::shared_ptr<Out> m_out;
    image::KernelStripBuffer m_buffer;
};

template <bool AlongZ>
void expectShifted(std::uint64_t stripElements) {
    auto in = image::Image::create3d(image::eImageBufferType::eUInt16, 13, 9, AlongZ ? 7 : 1);
    auto out = image::Image::create3d(image::eImageBufferType::eUInt16, 13, 9, AlongZ ? 7 : 1);
    for (std::uint64_t z = 0; z < in->getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < 9; ++y)
            for (std::uint64_t x = 0; x < 13; ++x) in->at<std::uint16_t>(x, y, z) = static_cast<std::uint16_t>(z * 1000 + y * 20 + x);

    std::vector<DynamicSplitPtr> splits;
    if constexpr (AlongZ) {
        auto s = boost::make_shared<ImageZStrip3dWithKernelSplit<ShiftLvl3<true>, InKernelZ>>();
        s->initBase(in, 0, 0, 1);
        auto o = boost::make_shared<ImageZStrip3dSplit<ShiftLvl3<true>, image::BaseImage, OutZ>>();
        o->initBase(out, 0, 0, 0);
        splits = {o, s};
    } else {
        auto s = boost::make_shared<ImageYStrip2dWithKernelSplit<ShiftLvl3<false>, InKernelY>>();
        s->initBase(in, 0, 1);
        auto o = boost::make_shared<ImageYStrip2dSplit<ShiftLvl3<false>, image::BaseImage, OutY>>();
        o->initBase(out, 0, 0, 0);
        splits = {o, s};
    }
    DynamicProcessorDispatcher<ShiftLvl3<AlongZ>> dispatcher;
    dispatcher.initBase(0, splits);
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    policy.setStripTargetElements(stripElements);
    policy.setParallelThreshold(0);
    RunContext context(policy);
    ASSERT_TRUE(dispatcher.run(context));
    for (std::uint64_t z = 0; z < in->getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < 9; ++y)
            for (std::uint64_t x = 0; x < 13; ++x) {
                const std::uint64_t sy = AlongZ ? y : (y == 0 ? 0 : y - 1), sz = AlongZ ? (z == 0 ? 0 : z - 1) : z;
                ASSERT_EQ(out->at<std::uint16_t>(x, y, z), in->at<std::uint16_t>(x, sy, sz))
                    << x << "," << y << "," << z << " with strips of " << stripElements;
            }
}

}  // namespace

TEST(KernelStrips, EveryStripReadsTheRowBeforeItAcrossCuts) {
    for (std::uint64_t elements : {1u, 64u, 200u, 100000u}) expectShifted<false>(elements);
}

TEST(KernelStrips, EveryStripReadsThePlaneBeforeItAcrossCuts) {
    for (std::uint64_t elements : {1u, 117u, 300u, 100000u}) expectShifted<true>(elements);
}
