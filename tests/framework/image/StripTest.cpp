// Y and z strips: placement, refusal of bad bands, strip heights, and the
// padding guarantee: a vector kernel's overrun never reaches pixels that another
// strip, plane or sub-image computes.

#include "ImageTestUtil.h"

#include <vimra/image/Strip.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <numeric>
#include <sstream>
#include <thread>
#include <vector>

using namespace vimra::image;
using namespace vimra::image::test;

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
constexpr std::byte kGarbage{0xA5};

struct Band {
    std::uint64_t start, count;
};

// Bands [k * h, min((k + 1) * h, size)).
std::vector<Band> cut(std::uint64_t size, std::uint64_t h) {
    std::vector<Band> bands;
    for (std::uint64_t s = 0; s < size; s += h) bands.push_back({s, std::min(h, size - s)});
    return bands;
}

// Smallest number of rows of `sizeX` elements that is a multiple of 64 elements.
std::uint64_t alignedRows(std::uint64_t sizeX) {
    std::uint64_t rows = 1;
    while (rows * sizeX % 64 != 0) ++rows;
    return rows;
}

// ---- strip heights
// -------------------------------------------------------------------------------

TEST(StripHeight, CutsAreAlignedWithinTargetAndEven) {
    for (const std::uint64_t sizeX : {1, 2, 3, 48, 63, 64, 65, 100, 128, 1000, 1001, 4096, 4097})
        for (const std::uint64_t sizeY : {1, 2, 3, 63, 64, 65, 130, 257, 1000})
            for (const std::uint64_t target : {0, 1, 64, 1000, 4096, 65536, 1 << 20}) {
                SCOPED_TRACE(testing::Message() << sizeX << "x" << sizeY << " target " << target);
                const std::uint64_t h = chooseStripHeight(sizeX, sizeY, target);
                ASSERT_GE(h, 1u);
                ASSERT_LE(h, sizeY);
                const std::uint64_t unit = alignedRows(sizeX);
                // Every strip but the last holds a multiple of 64 elements.
                if (h < sizeY) {
                    EXPECT_EQ(h * sizeX % 64, 0u);
                }
                // No strip exceeds the target, unless one aligned unit already does.
                const std::uint64_t allowed = std::max(target, unit * sizeX);
                EXPECT_LE(h * sizeX, allowed);
                // As few strips as the target allows ...
                const std::uint64_t unitsPerStrip =
                    std::max<std::uint64_t>(1, allowed / (unit * sizeX));
                const std::uint64_t fewest =
                    (sizeY + unitsPerStrip * unit - 1) / (unitsPerStrip * unit);
                const std::uint64_t n = cut(sizeY, h).size();
                EXPECT_EQ(n, fewest);
                // ... of even size: the largest is within one unit of the mean.
                EXPECT_LT(h * n, sizeY + unit * (n + 1));
            }
    EXPECT_EQ(chooseStripHeight(0, 10, 100), 1u);
    EXPECT_EQ(chooseStripHeight(10, 0, 100), 1u);
    EXPECT_EQ(chooseStripHeight(kMax, 3, 100), 3u);  // the aligned unit overflows: one strip
}

TEST(StripDepth, CutsAreWithinTargetAndEven) {
    for (const std::uint64_t planeSize : {1, 64, 65, 4096, 100000})
        for (const std::uint64_t sizeZ : {1, 2, 3, 7, 64, 100})
            for (const std::uint64_t target : {0, 1, 4096, 1 << 20}) {
                SCOPED_TRACE(testing::Message()
                             << planeSize << " x " << sizeZ << " target " << target);
                const std::uint64_t d = chooseStripDepth(planeSize, sizeZ, target);
                ASSERT_GE(d, 1u);
                ASSERT_LE(d, sizeZ);
                const std::uint64_t perStrip = std::max<std::uint64_t>(1, target / planeSize);
                EXPECT_LE(d, perStrip);
                const std::uint64_t n = cut(sizeZ, d).size();
                EXPECT_EQ(n, (sizeZ + perStrip - 1) / perStrip);
                EXPECT_LT(d * n, sizeZ + n);
            }
    EXPECT_EQ(chooseStripDepth(10, 0, 100), 1u);
}

// ---- y strips
// ------------------------------------------------------------------------------------

TEST(YStrip, PointsIntoItsPlaneAndRefusesBandsOutside) {
    for (const auto& f : allTypes()) {
        const auto img = Image::create(
            ImageDescription::make(f.type, 7, 9, VolumeGeometry::make3d(3),
                                   ColorGeometry::multiChannel(2), TemporalGeometry::sequence(2)));
        const BaseImage& cimg = *img;
        const std::size_t es = f.bytes;
        for (const Band b : std::vector<Band>{{0, 9}, {2, 3}, {8, 1}, {9, 0}, {0, 0}}) {
            const InputImageYStrip2d in(cimg, b.start, b.count, 2, 1, 1);
            const OutputImageYStrip2d out(*img, b.start, b.count, 2, 1, 1);
            const auto* plane = static_cast<const std::byte*>(cimg.planeData(2, 1, 1));
            for (const BaseImageYStrip2d* s : {static_cast<const BaseImageYStrip2d*>(&in),
                                               static_cast<const BaseImageYStrip2d*>(&out)}) {
                EXPECT_EQ(s->getImageBufferType(), f.type);
                EXPECT_EQ(s->getSizeX(), 7u);
                EXPECT_EQ(s->getSizeY(), b.count);
                EXPECT_EQ(s->getStripStartOffsetY(), b.start);
                EXPECT_EQ(s->getElementCount(), 7 * b.count);
            }
            EXPECT_EQ(in.getData(), plane + b.start * 7 * es);
            EXPECT_EQ(out.getData(), in.getData());
            for (std::uint64_t r = 0; r < b.count; ++r) {
                EXPECT_EQ(in.getRow(r), plane + (b.start + r) * 7 * es);
                EXPECT_EQ(out.getRow(r), in.getRow(r));
            }
        }
        for (const Band b : std::vector<Band>{{10, 0}, {0, 10}, {8, 2}, {1, kMax}, {kMax, 1}}) {
            EXPECT_THROW(InputImageYStrip2d(cimg, b.start, b.count), ImageException);
            EXPECT_THROW(OutputImageYStrip2d(*img, b.start, b.count), ImageException);
        }
        EXPECT_THROW(InputImageYStrip2d(cimg, 0, 1, 3, 0, 0), ImageException);
        EXPECT_THROW(OutputImageYStrip2d(*img, 0, 1, 0, 2, 0), ImageException);
        EXPECT_THROW(OutputImageYStrip2d(*img, 0, 1, 0, 0, 2), ImageException);
    }
}

// ---- the padding guarantee
// -----------------------------------------------------------------------

// The value the simulated kernel writes to element i of plane p: 0..99, never
// the garbage pattern in any element type.
template <class T>
T kernelValue(std::uint64_t plane, std::uint64_t i) {
    return static_cast<T>((plane * 7 + i) % 100);
}

// One strip of a simulated vector kernel run: its pixels and its overrun.
struct StripRun {
    std::byte* data;      // first element of the strip
    std::uint64_t count;  // elements of the strip
    std::uint64_t first;  // index of the first element in its plane
    std::uint64_t plane;  // plane number, for kernelValue
    const std::byte* planeBegin;
    const std::byte* planeEnd;  // planeBegin + plane stride: the plane's own memory
};

// Cuts every plane of `img` into y strips of the height `height` picks, through a
// plane view as the processing framework does or straight from the image.
std::vector<StripRun> planStrips(BaseImage& img, const std::function<std::uint64_t()>& height,
                                 bool viaViews, const ImagePtr& owner) {
    std::vector<StripRun> runs;
    std::uint64_t planeNumber = 0;
    const std::size_t es = img.getElementSize();
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z, ++planeNumber) {
                ImagePtr view = viaViews
                                    ? ImageView::create(owner, ImageView::Box::plane2d(z, c, t))
                                    : ImagePtr();
                BaseImage& target = viaViews ? *view : img;
                const std::uint64_t pz = viaViews ? 0 : z, pc = viaViews ? 0 : c,
                                    pt = viaViews ? 0 : t;
                auto* planeBegin = static_cast<std::byte*>(img.planeData(z, c, t));
                for (const Band b : cut(img.getSizeY(), height())) {
                    const OutputImageYStrip2d strip(target, b.start, b.count, pz, pc, pt);
                    runs.push_back({static_cast<std::byte*>(strip.getData()),
                                    strip.getElementCount(), b.start * img.getSizeX(), planeNumber,
                                    planeBegin, planeBegin + img.getPlaneStride() * es});
                }
            }
    return runs;
}

// Phase 1 of a strip: its own pixels. Phase 2: garbage over
// [count, roundUp(count, 64)), as a vector kernel without a scalar tail writes.
// Returns a fault when the overrun would leave the strip's plane (not written).
template <class T>
std::string runPixels(const StripRun& r) {
    T* p = reinterpret_cast<T*>(r.data);
    for (std::uint64_t i = 0; i < r.count; ++i) p[i] = kernelValue<T>(r.plane, r.first + i);
    return {};
}
template <class T>
std::string runOverrun(const StripRun& r) {
    const std::byte* end = r.data + roundUp64(r.count) * sizeof(T);
    if (r.data < r.planeBegin || end > r.planeEnd) {
        std::ostringstream s;
        s << "overrun of the strip at element " << r.first << " of plane " << r.plane
          << " leaves its plane";
        return s.str();
    }
    std::memset(r.data + r.count * sizeof(T), static_cast<int>(kGarbage),
                (roundUp64(r.count) - r.count) * sizeof(T));
    return {};
}

// Runs every strip (all pixels first, then all overruns, so that an overrun into
// any other strip survives) and returns the first fault: a pixel that is not the
// value its own strip wrote, or else an overrun that would leave its plane.
template <class T>
std::string checkStrips(BaseImage& img, const std::vector<StripRun>& runs) {
    for (const auto& r : runs) runPixels<T>(r);
    std::string leaves;
    for (const auto& r : runs)
        if (auto fault = runOverrun<T>(r); !fault.empty() && leaves.empty()) leaves = fault;
    std::uint64_t planeNumber = 0;
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z, ++planeNumber) {
                const T* p = img.plane<T>(z, c, t);
                for (std::uint64_t i = 0; i < img.getPlaneSize(); ++i)
                    if (p[i] != kernelValue<T>(planeNumber, i)) {
                        std::ostringstream s;
                        s << "element " << i << " of plane " << planeNumber << " was overwritten";
                        return s.str();
                    }
            }
    return leaves;
}

TEST(PaddingGuarantee, OverrunsNeverTouchAnotherStripOrPlane) {
    for (const auto& f : allTypes())
        for (const std::uint64_t sizeX : {1, 63, 64, 65, 1001})
            for (const std::uint64_t sizeY : {1, 2, 63, 64, 65, 130})
                for (const std::uint64_t target : {1, 1000, 65536}) {
                    const bool viaViews = (sizeX + sizeY + target) % 2 == 0;
                    SCOPED_TRACE(testing::Message()
                                 << f.name << " " << sizeX << "x" << sizeY << " target " << target
                                 << (viaViews ? " via views" : ""));
                    const auto img = Image::create(
                        ImageDescription::make(f.type, sizeX, sizeY, VolumeGeometry::make3d(2),
                                               ColorGeometry::multiChannel(2)));
                    const auto runs = planStrips(
                        *img, [&] { return chooseStripHeight(sizeX, sizeY, target); }, viaViews,
                        img);
                    std::uint64_t covered = 0;
                    for (const auto& r : runs) covered += r.count;
                    ASSERT_EQ(covered, img->getPlaneSize() * img->getPlaneCount());
                    withElement(f.elementIndex,
                                [&]<class T>() { ASSERT_EQ(checkStrips<T>(*img, runs), ""); });
                }
}

// The same for caller memory wrapped with a stride above the minimum, and for
// the planes of every sub-image view kind cut from a 3d colour sequence.
TEST(PaddingGuarantee, HoldsForWrappedMemoryAndSubImages) {
    for (const std::uint64_t sizeX : {1, 63, 64, 65, 1001}) {
        const std::uint64_t sizeY = 67;
        const auto desc =
            ImageDescription::make(eImageBufferType::eInt16, sizeX, sizeY,
                                   VolumeGeometry::make3d(3), {}, TemporalGeometry::sequence(2));
        const std::uint64_t stride = roundUp64(sizeX * sizeY) + 64;
        std::vector<short> storage(stride * 6);
        const ImagePtr wrapped = Image::wrap(desc, storage.data(), stride);
        const auto runs = planStrips(
            *wrapped, [&] { return chooseStripHeight(sizeX, sizeY, 640); }, true, wrapped);
        EXPECT_EQ(checkStrips<short>(*wrapped, runs), "") << sizeX;

        const ImagePtr img = Image::create(ImageDescription::make(
            eImageBufferType::eFloat, sizeX, sizeY, VolumeGeometry::make3d(2),
            ColorGeometry::multiChannel(2), TemporalGeometry::sequence(2)));
        for (const auto& box :
             {ImageView::Box::volume3d(*img, 1, 1), ImageView::Box::color2d(*img, 1, 0),
              ImageView::Box::sequence2d(*img, 0, 1), ImageView::Box::color3d(*img, 1)}) {
            const ImagePtr sub = ImageView::create(img, box);
            const auto subRuns = planStrips(
                *sub, [&] { return chooseStripHeight(sizeX, sizeY, 2000); }, true, sub);
            EXPECT_EQ(checkStrips<float>(*sub, subRuns), "") << sizeX;
        }
    }
}

// The check catches what it is there for: strips of one row of 65 elements
// overrun into the next strip, and the last strip's overrun leaves its plane.
TEST(PaddingGuarantee, TheCheckDetectsMisplacedCuts) {
    const auto img = Image::create(ImageDescription::make3d(eImageBufferType::eUInt8, 65, 10, 2));
    const auto oneRow = planStrips(
        *img, [] { return std::uint64_t{1}; }, false, img);
    EXPECT_NE(checkStrips<unsigned char>(*img, oneRow), "");

    const auto img2 = Image::create(ImageDescription::make3d(eImageBufferType::eUInt8, 65, 64, 2));
    const auto interior = planStrips(
        *img2, [] { return std::uint64_t{32}; }, false, img2);
    const std::string fault = checkStrips<unsigned char>(*img2, interior);
    EXPECT_NE(fault.find("was overwritten"), std::string::npos) << fault;
}

// Strips of every plane run at the same time on several threads, each writing
// its pixels and then its overrun, as the dispatcher runs them; under the
// thread sanitizer any overlap is a reported race.
TEST(PaddingGuarantee, ConcurrentStripsLeaveEachOtherAlone) {
    for (const std::uint64_t sizeX : {1, 63, 65, 1001}) {
        const auto img = Image::create(ImageDescription::make(eImageBufferType::eUInt16, sizeX, 200,
                                                              VolumeGeometry::make3d(3), {}, {}));
        const auto runs = planStrips(
            *img, [&] { return chooseStripHeight(sizeX, 200, 64); }, true, img);
        ASSERT_GT(runs.size(), 3u);
        std::vector<std::thread> workers;
        for (unsigned w = 0; w < 4; ++w)
            workers.emplace_back([&, w] {
                for (std::size_t i = w; i < runs.size(); i += 4) {
                    runPixels<unsigned short>(runs[i]);
                    runOverrun<unsigned short>(runs[i]);
                }
            });
        for (auto& w : workers) w.join();
        std::uint64_t planeNumber = 0;
        for (std::uint64_t z = 0; z < 3; ++z, ++planeNumber) {
            const auto* p = img->plane<unsigned short>(z);
            for (std::uint64_t i = 0; i < img->getPlaneSize(); ++i)
                ASSERT_EQ(p[i], kernelValue<unsigned short>(planeNumber, i))
                    << sizeX << " plane " << z << " " << i;
        }
    }
}

// ---- z strips
// ------------------------------------------------------------------------------------

TEST(ZStrip, PointsAtItsPlanesAndRefusesBandsOutside) {
    for (const auto& f : allTypes()) {
        const auto img = Image::create(
            ImageDescription::make(f.type, 65, 3, VolumeGeometry::make3d(7),
                                   ColorGeometry::multiChannel(2), TemporalGeometry::sequence(2)));
        const BaseImage& cimg = *img;
        const std::size_t es = f.bytes;
        const std::uint64_t depth =
            chooseStripDepth(img->getPlaneSize(), 7, 3 * img->getPlaneSize());
        std::uint64_t seen = 0;
        for (const Band b : cut(7, depth)) {
            const InputImageZStrip3d in(cimg, b.start, b.count, 1, 1);
            const OutputImageZStrip3d out(*img, b.start, b.count, 1, 1);
            for (const BaseImageZStrip3d* s : {static_cast<const BaseImageZStrip3d*>(&in),
                                               static_cast<const BaseImageZStrip3d*>(&out)}) {
                EXPECT_EQ(s->getImageBufferType(), f.type);
                EXPECT_EQ(s->getSizeX(), 65u);
                EXPECT_EQ(s->getSizeY(), 3u);
                EXPECT_EQ(s->getSizeZ(), b.count);
                EXPECT_EQ(s->getStripStartOffsetZ(), b.start);
                EXPECT_EQ(s->getPlaneStride(), 256u);
                EXPECT_EQ(s->getElementCount(), 195 * b.count);
            }
            EXPECT_EQ(in.getData(), cimg.planeData(b.start, 1, 1));
            for (std::uint64_t p = 0; p < b.count; ++p, ++seen) {
                const auto* plane =
                    static_cast<const std::byte*>(cimg.planeData(b.start + p, 1, 1));
                EXPECT_EQ(in.getPlane(p), plane);
                EXPECT_EQ(out.getPlane(p), plane);
                for (std::uint64_t r = 0; r < 3; ++r) {
                    EXPECT_EQ(in.getRow(r, p), plane + r * 65 * es);
                    EXPECT_EQ(out.getRow(r, p), plane + r * 65 * es);
                }
            }
        }
        EXPECT_EQ(seen, 7u);
        EXPECT_NO_THROW(InputImageZStrip3d(cimg, 7, 0));
        for (const Band b : std::vector<Band>{{8, 0}, {0, 8}, {6, 2}, {1, kMax}, {kMax, 1}}) {
            EXPECT_THROW(InputImageZStrip3d(cimg, b.start, b.count), ImageException);
            EXPECT_THROW(OutputImageZStrip3d(*img, b.start, b.count), ImageException);
        }
        EXPECT_THROW(InputImageZStrip3d(cimg, 0, 1, 2, 0), ImageException);
        EXPECT_THROW(OutputImageZStrip3d(*img, 0, 1, 0, 2), ImageException);
    }
}

// A flat kernel over each plane of concurrent z strips overruns into the plane's
// own padding only.
TEST(ZStrip, PlaneOverrunsStayInTheirPlanes) {
    for (const std::uint64_t sizeX : {1, 63, 64, 65, 1001}) {
        const auto img =
            Image::create(ImageDescription::make3d(eImageBufferType::eInt32, sizeX, 5, 9));
        const std::uint64_t depth =
            chooseStripDepth(img->getPlaneSize(), 9, 2 * img->getPlaneSize());
        std::vector<StripRun> runs;
        for (const Band b : cut(9, depth)) {
            const OutputImageZStrip3d strip(*img, b.start, b.count);
            for (std::uint64_t p = 0; p < b.count; ++p) {
                auto* plane = static_cast<std::byte*>(strip.getPlane(p));
                runs.push_back({plane, img->getPlaneSize(), 0, b.start + p, plane,
                                plane + img->getPlaneStride() * sizeof(int)});
            }
        }
        EXPECT_EQ(checkStrips<int>(*img, runs), "") << sizeX;
    }
}

}  // namespace
