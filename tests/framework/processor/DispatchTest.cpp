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
