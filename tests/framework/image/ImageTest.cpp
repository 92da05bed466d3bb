// Images: creation, pixel access, layout, views, wrapping and the refusal of bad
// sizes, over every buffer type and geometry.

#include "ImageTestUtil.h"

#include <vimra/image/BaseImage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

using namespace vimra::image;
using namespace vimra::image::test;

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

class ImageByTypeAndGeometry
    : public ::testing::TestWithParam<std::tuple<TypeFacts, GeometryCase>> {
  protected:
    const TypeFacts& facts() const { return std::get<0>(GetParam()); }
    const GeometryCase& geometry() const { return std::get<1>(GetParam()); }
    ImagePtr make() const { return Image::create(geometry().describe(facts().type)); }
};

// Calls f(z, c, t) for every plane of an image.
template <class F>
void forEachPlane(const BaseImage& img, F&& f) {
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z) f(z, c, t);
}

TEST_P(ImageByTypeAndGeometry, CreationDescribesTheImage) {
    const auto img = make();
    const auto& g = geometry();
    EXPECT_EQ(img->getBufferType(), facts().type);
    EXPECT_EQ(img->getElementSize(), facts().bytes);
    EXPECT_EQ(getImageBufferBaseSize(facts().type), facts().bytes);
    EXPECT_EQ(img->getSizeX(), g.x);
    EXPECT_EQ(img->getSizeY(), g.y);
    EXPECT_EQ(img->getSizeZ(), g.z());
    EXPECT_EQ(img->getSizeC(), g.c());
    EXPECT_EQ(img->getSizeT(), g.t());
    EXPECT_EQ(img->getVolumeGeometry(), g.volume);
    EXPECT_EQ(img->getVolumeGeometryType(), g.volume.getType());
    EXPECT_EQ(img->getColorGeometry(), g.color);
    EXPECT_EQ(img->getColorGeometryType(), g.color.getType());
    EXPECT_EQ(img->getTemporalGeometry(), g.temporal);
    EXPECT_EQ(img->getTemporalGeometryType(), g.temporal.getType());
    EXPECT_EQ(img->getPlaneCount(), g.z() * g.c() * g.t());
    EXPECT_FALSE(img->isGpuImage());
}

TEST_P(ImageByTypeAndGeometry, LayoutIsContiguousRowsInPaddedAlignedPlanes) {
    const auto img = make();
    const std::uint64_t stride = roundUp64(img->getSizeX() * img->getSizeY());
    EXPECT_EQ(img->getPlaneStride(), stride);
    EXPECT_EQ(img->getChannelStride(), stride * img->getSizeZ());
    EXPECT_EQ(img->getTimeStride(), stride * img->getSizeZ() * img->getSizeC());
    const auto* origin = static_cast<const std::byte*>(img->planeData());
    forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        const auto* plane = static_cast<const std::byte*>(img->planeData(z, c, t));
        // z fastest, then c, then t; every plane on a 64-byte boundary.
        const std::uint64_t planeIndex = (t * img->getSizeC() + c) * img->getSizeZ() + z;
        EXPECT_EQ(static_cast<std::uint64_t>(plane - origin), planeIndex * stride * facts().bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(plane) % 64, 0u);
        // Padding is zero from creation on.
        for (std::uint64_t i = img->getSizeX() * img->getSizeY(); i < stride; ++i)
            for (std::size_t b = 0; b < facts().bytes; ++b)
                ASSERT_EQ(plane[i * facts().bytes + b], std::byte{0}) << "padding element " << i;
    });
}

TEST_P(ImageByTypeAndGeometry, CreatedZeroSetGetAndRawAccessAgree) {
    const auto img = make();
    forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        for (std::uint64_t y = 0; y < img->getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img->getSizeX(); ++x)
                ASSERT_EQ(img->getValue(x, y, z, c, t), 0.0);
    });
    fillPattern(*img, facts());
    withElement(facts().elementIndex, [&]<class T>() {
        const BaseImage& cimg = *img;
        forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
            const T* plane = cimg.plane<T>(z, c, t);
            for (std::uint64_t y = 0; y < img->getSizeY(); ++y)
                for (std::uint64_t x = 0; x < img->getSizeX(); ++x) {
                    const double expected = patternValue(facts(), linearIndex(*img, x, y, z, c, t));
                    ASSERT_EQ(img->getValue(x, y, z, c, t), expected);
                    ASSERT_EQ(static_cast<double>(cimg.at<T>(x, y, z, c, t)), expected);
                    // Row stride is sizeX: rows follow each other without a gap.
                    ASSERT_EQ(static_cast<double>(plane[y * img->getSizeX() + x]), expected);
                }
        });
        // Typed writes are seen by the untyped reader.
        const std::uint64_t lx = img->getSizeX() - 1, ly = img->getSizeY() - 1,
                            lz = img->getSizeZ() - 1, lc = img->getSizeC() - 1,
                            lt = img->getSizeT() - 1;
        img->at<T>(lx, ly, lz, lc, lt) = static_cast<T>(42);
        EXPECT_EQ(img->getValue(lx, ly, lz, lc, lt), 42.0);
        img->plane<T>(0, 0, 0)[0] = static_cast<T>(7);
        EXPECT_EQ(img->getValue(0, 0, 0, 0, 0), 7.0);
    });
}

TEST_P(ImageByTypeAndGeometry, FillSetsEveryPixelAndNoPadding) {
    const auto img = make();
    const double value = facts().lowest < 0 ? -3.0 : 5.0;
    img->fill(value);
    forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        const auto* plane = static_cast<const std::byte*>(img->planeData(z, c, t));
        for (std::uint64_t y = 0; y < img->getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img->getSizeX(); ++x)
                ASSERT_EQ(img->getValue(x, y, z, c, t), value);
        for (std::uint64_t i = img->getPlaneSize() * facts().bytes;
             i < img->getPlaneStride() * facts().bytes; ++i)
            ASSERT_EQ(plane[i], std::byte{0});
    });
}

TEST_P(ImageByTypeAndGeometry, OutOfRangeCoordinatesAreRefused) {
    const auto img = make();
    const std::uint64_t X = img->getSizeX(), Y = img->getSizeY(), Z = img->getSizeZ(),
                        C = img->getSizeC(), T = img->getSizeT();
    EXPECT_THROW(img->getValue(X, 0), ImageException);
    EXPECT_THROW(img->getValue(0, Y), ImageException);
    EXPECT_THROW(img->setValue(1.0, 0, 0, Z), ImageException);
    EXPECT_THROW(img->setValue(1.0, 0, 0, 0, C), ImageException);
    EXPECT_THROW(img->planeData(0, 0, T), ImageException);
    EXPECT_THROW(img->getValue(kMax, kMax, kMax, kMax, kMax), ImageException);
    withElement(facts().elementIndex, [&]<class T>() {
        EXPECT_THROW(img->at<T>(X, 0), ImageException);
        EXPECT_THROW(img->plane<T>(Z, 0, 0), ImageException);
    });
}

// Typed access is accepted exactly for the element type that stores the buffer type.
TEST_P(ImageByTypeAndGeometry, TypedAccessRefusesOtherElementTypes) {
    const auto img = make();
    for (int e = 0; e < 7; ++e) {
        withElement(e, [&]<class T>() {
            if (e == facts().elementIndex) {
                EXPECT_NO_THROW(img->plane<T>());
                EXPECT_NO_THROW(img->at<T>(0, 0));
            } else {
                EXPECT_THROW(img->plane<T>(), ImageException) << "element " << e;
                EXPECT_THROW(img->at<T>(0, 0), ImageException) << "element " << e;
                try {
                    img->plane<T>();
                } catch (const ImageException& ex) {
                    EXPECT_NE(std::string(ex.what()).find(facts().name), std::string::npos)
                        << ex.what();
                }
            }
        });
    }
}

TEST_P(ImageByTypeAndGeometry, CloneCopiesPixelsIntoNewStorage) {
    const auto img = make();
    fillPattern(*img, facts());
    const auto copy = Image::clone(*img);
    EXPECT_EQ(copy->getDescription(), img->getDescription());
    EXPECT_NE(copy->planeData(), img->planeData());
    forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
        for (std::uint64_t y = 0; y < img->getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img->getSizeX(); ++x)
                ASSERT_EQ(copy->getValue(x, y, z, c, t), img->getValue(x, y, z, c, t));
    });
    img->setValue(1.0, 0, 0);
    copy->setValue(2.0, 0, 0);
    EXPECT_EQ(img->getValue(0, 0), 1.0);
}

// Every view box of every kind shows the parent's pixels at the right place and
// writes through to the parent.
TEST_P(ImageByTypeAndGeometry, ViewsOfTheFiveSubImageKinds) {
    const ImagePtr img = make();
    fillPattern(*img, facts());
    const std::uint64_t Z = img->getSizeZ(), C = img->getSizeC(), T = img->getSizeT();

    struct Kind {
        const char* name;
        std::vector<ImageView::Box> boxes;
        bool volumeKept, colorKept, temporalKept;
    };
    std::vector<Kind> kinds(5);
    kinds[0] = {"plane2d", {}, false, false, false};
    kinds[1] = {"color2d", {}, false, true, false};
    kinds[2] = {"sequence2d", {}, false, false, true};
    kinds[3] = {"volume3d", {}, true, false, false};
    kinds[4] = {"color3d", {}, true, true, false};
    for (std::uint64_t t = 0; t < T; ++t) {
        for (std::uint64_t c = 0; c < C; ++c)
            for (std::uint64_t z = 0; z < Z; ++z)
                kinds[0].boxes.push_back(ImageView::Box::plane2d(z, c, t));
        for (std::uint64_t z = 0; z < Z; ++z)
            kinds[1].boxes.push_back(ImageView::Box::color2d(*img, z, t));
        for (std::uint64_t c = 0; c < C; ++c)
            kinds[3].boxes.push_back(ImageView::Box::volume3d(*img, c, t));
        kinds[4].boxes.push_back(ImageView::Box::color3d(*img, t));
    }
    for (std::uint64_t c = 0; c < C; ++c)
        for (std::uint64_t z = 0; z < Z; ++z)
            kinds[2].boxes.push_back(ImageView::Box::sequence2d(*img, z, c));

    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        std::uint64_t planesSeen = 0;
        for (const ImageView::Box& box : kind.boxes) {
            const ImagePtr view = ImageView::create(img, box);
            const ConstImagePtr constView = ImageView::create(ConstImagePtr(img), box);
            ASSERT_EQ(view->getSizeZ(), box.sizeZ);
            ASSERT_EQ(view->getSizeC(), box.sizeC);
            ASSERT_EQ(view->getSizeT(), box.sizeT);
            EXPECT_EQ(view->getSizeX(), img->getSizeX());
            EXPECT_EQ(view->getPlaneStride(), img->getPlaneStride());
            EXPECT_EQ(constView->planeData(), view->planeData());
            // Geometry types: the kind's own dimensions keep the parent's type,
            // the others follow the view's size.
            EXPECT_EQ(view->getVolumeGeometryType(),
                      kind.volumeKept
                          ? img->getVolumeGeometryType()
                          : (box.sizeZ > 1 ? eVolumeGeometryType::e3d : eVolumeGeometryType::e2d));
            EXPECT_EQ(view->getColorGeometryType(),
                      kind.colorKept ? img->getColorGeometryType()
                                     : (box.sizeC > 1 ? eColorGeometryType::eMultiChannel
                                                      : eColorGeometryType::eGrey));
            EXPECT_EQ(view->getTemporalGeometryType(),
                      kind.temporalKept ? img->getTemporalGeometryType()
                                        : (box.sizeT > 1 ? eTemporalGeometryType::eSequence
                                                         : eTemporalGeometryType::eSingle));
            forEachPlane(*view, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
                ++planesSeen;
                EXPECT_EQ(view->planeData(z, c, t),
                          img->planeData(box.z0 + z, box.c0 + c, box.t0 + t));
                for (std::uint64_t y = 0; y < view->getSizeY(); ++y)
                    for (std::uint64_t x = 0; x < view->getSizeX(); ++x)
                        ASSERT_EQ(view->getValue(x, y, z, c, t),
                                  patternValue(facts(), linearIndex(*img, x, y, box.z0 + z,
                                                                    box.c0 + c, box.t0 + t)));
            });
            // A write through the view lands in the parent.
            const std::uint64_t lz = box.sizeZ - 1, lc = box.sizeC - 1, lt = box.sizeT - 1;
            view->setValue(3.0, 0, img->getSizeY() - 1, lz, lc, lt);
            EXPECT_EQ(img->getValue(0, img->getSizeY() - 1, box.z0 + lz, box.c0 + lc, box.t0 + lt),
                      3.0);
            view->setValue(
                patternValue(facts(), linearIndex(*img, 0, img->getSizeY() - 1, box.z0 + lz,
                                                  box.c0 + lc, box.t0 + lt)),
                0, img->getSizeY() - 1, lz, lc, lt);
        }
        // Each kind covers every plane exactly once.
        EXPECT_EQ(planesSeen, img->getPlaneCount());
    }
}

TEST_P(ImageByTypeAndGeometry, ViewBoxesOutsideTheImageAreRefused) {
    const ImagePtr img = make();
    const std::uint64_t Z = img->getSizeZ(), C = img->getSizeC(), T = img->getSizeT();
    const std::vector<ImageView::Box> bad = {
        {Z, 1, 0, 1, 0, 1},     {0, Z + 1, 0, 1, 0, 1}, {0, 1, C, 1, 0, 1},
        {0, 1, 0, C + 1, 0, 1}, {0, 1, 0, 1, T, 1},     {0, 1, 0, 1, 0, T + 1},
        {0, 0, 0, 1, 0, 1},     {0, 1, 0, 0, 0, 1},     {0, 1, 0, 1, 0, 0},
        {1, kMax, 0, 1, 0, 1},  {kMax, 2, 0, 1, 0, 1},  {0, 1, kMax, 2, 0, 1},
        {0, 1, 0, 1, kMax, 2},
    };
    for (const auto& box : bad) {
        EXPECT_THROW(ImageView::create(img, box), ImageException)
            << "z " << box.z0 << "+" << box.sizeZ << " c " << box.c0 << "+" << box.sizeC << " t "
            << box.t0 << "+" << box.sizeT;
        EXPECT_THROW(ImageView::create(ConstImagePtr(img), box), ImageException);
    }
    EXPECT_THROW(ImageView::create(ImagePtr(), ImageView::Box{}), ImageException);
}

TEST_P(ImageByTypeAndGeometry, WrapUsesCallerMemoryWithAProperStride) {
    const auto desc = geometry().describe(facts().type);
    const std::uint64_t planeSize = desc.sizeX * desc.sizeY;
    for (const std::uint64_t stride : {roundUp64(planeSize), roundUp64(planeSize) + 128}) {
        const std::uint64_t elements = stride * desc.planeCount();
        auto storage =
            boost::shared_ptr<std::uint32_t[]>(new std::uint32_t[elements]());  // 4-byte aligned
        auto* bytes = reinterpret_cast<std::byte*>(storage.get());
        const std::uint64_t live = getLiveImageStorageBytes();
        const ImagePtr img = Image::wrap(desc, bytes, stride, storage);
        EXPECT_EQ(getLiveImageStorageBytes(), live);  // wrapped memory is the caller's
        EXPECT_EQ(img->getPlaneStride(), stride);
        EXPECT_EQ(img->planeData(), bytes);
        fillPattern(*img, facts());
        // The pixel (x, y, z, c, t) sits where the documented layout puts it.
        withElement(facts().elementIndex, [&]<class T>() {
            const T* data = reinterpret_cast<const T*>(bytes);
            forEachPlane(*img, [&](std::uint64_t z, std::uint64_t c, std::uint64_t t) {
                const std::uint64_t planeIndex =
                    (t * desc.color.getSizeC() + c) * desc.volume.getSizeZ() + z;
                for (std::uint64_t y = 0; y < desc.sizeY; ++y)
                    for (std::uint64_t x = 0; x < desc.sizeX; ++x)
                        ASSERT_EQ(
                            static_cast<double>(data[planeIndex * stride + y * desc.sizeX + x]),
                            patternValue(facts(), linearIndex(*img, x, y, z, c, t)));
            });
        });
        // The image keeps the owner alive.
        EXPECT_EQ(storage.use_count(), 2);
    }
}

TEST_P(ImageByTypeAndGeometry, WrapRefusesUnsafeBuffers) {
    const auto desc = geometry().describe(facts().type);
    const std::uint64_t planeSize = desc.sizeX * desc.sizeY;
    std::vector<std::uint32_t> storage(roundUp64(planeSize + 64) * desc.planeCount() + 8);
    auto* bytes = reinterpret_cast<std::byte*>(storage.data());
    // Smaller than a plane, or so large the image passes the size limit.
    const std::uint64_t proper = roundUp64(planeSize);
    for (const std::uint64_t stride :
         {proper - 64, proper + 1, proper + 32, proper - 1, std::uint64_t{63}, planeSize, planeSize - 1,
          kMax - 63, (std::uint64_t{1} << 46) + 64}) {
        if (stride >= planeSize && stride < (std::uint64_t{1} << 40)) {
            EXPECT_EQ(Image::wrap(desc, bytes, stride)->hasVectorPadding(), stride >= proper) << stride;
            continue;  // acceptable
        }
        EXPECT_THROW(Image::wrap(desc, bytes, stride), ImageException) << "stride " << stride;
    }
    EXPECT_THROW(Image::wrap(desc, nullptr, roundUp64(planeSize)), ImageException);
    if (facts().bytes > 1) {
        EXPECT_THROW(Image::wrap(desc, bytes + 1, roundUp64(planeSize)), ImageException);
    }
    auto bad = desc;
    bad.sizeX = 0;
    EXPECT_THROW(Image::wrap(bad, bytes, 64), ImageException);
}

std::vector<std::tuple<TypeFacts, GeometryCase>> allCases() {
    std::vector<std::tuple<TypeFacts, GeometryCase>> cases;
    for (const auto& t : allTypes())
        for (const auto& g : allGeometries()) cases.emplace_back(t, g);
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AllTypesAllGeometries, ImageByTypeAndGeometry,
                         ::testing::ValuesIn(allCases()), [](const auto& info) {
                             return paramName(std::get<0>(info.param), std::get<1>(info.param));
                         });

// ---- values and conversion ---------------------------------------------------------------------

class ImageByType : public ::testing::TestWithParam<TypeFacts> {};

TEST_P(ImageByType, SetValueClampsTruncatesAndStoresExactly) {
    const TypeFacts& f = GetParam();
    const auto img = Image::create2d(f.type, 4, 4);
    const double inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> values = {0.0,      2.7,        -2.7,         0.5,     -0.5,
                                        f.lowest, f.highest,  1e10,         -1e10,   1e300,
                                        -1e300,   16777217.0, 4294967296.0, inf,     -inf,
                                        nan,      127.5,      -128.5,       65535.9, -32768.9};
    for (const double v : values) {
        img->setValue(v, 1, 2);
        const double got = img->getValue(1, 2);
        const double expected = storedValue(f, v);
        const double filled = (img->fill(v), img->getValue(3, 3));
        if (expected != expected) {
            EXPECT_TRUE(std::isnan(got)) << v;
            EXPECT_TRUE(std::isnan(filled)) << v;
        } else {
            EXPECT_EQ(got, expected) << "set " << v;
            EXPECT_EQ(filled, expected) << "fill " << v;
        }
    }
    // Extremes survive a round trip, so every representable value is reachable.
    img->setValue(f.lowest, 0, 0);
    img->setValue(f.highest, 0, 1);
    EXPECT_EQ(img->getValue(0, 0), f.lowest);
    EXPECT_EQ(img->getValue(0, 1), f.highest);
}

TEST_P(ImageByType, NamesAndElementTypes) {
    const TypeFacts& f = GetParam();
    EXPECT_STREQ(bufferTypeName(f.type), f.name);
    EXPECT_EQ(elementIndex(f.type), f.elementIndex);
    EXPECT_EQ(elementBufferType(f.type), static_cast<eImageBufferType::domain>(f.elementIndex + 1));
    EXPECT_TRUE(isValidBufferType(f.type));
}

INSTANTIATE_TEST_SUITE_P(AllTypes, ImageByType, ::testing::ValuesIn(allTypes()),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- sizes
// ---------------------------------------------------------------------------------------

// A refused description throws ImageException naming the fault, and the refusal
// happens before any storage is taken.
void expectRefused(const ImageDescription& desc, const std::string& words) {
    const std::uint64_t before = getLiveImageStorageBytes();
    try {
        Image::create(desc, Image::eInit::eUninitialized);
        ADD_FAILURE() << "accepted " << desc.toString();
    } catch (const ImageException& e) {
        EXPECT_NE(std::string(e.what()).find(words), std::string::npos) << e.what();
    } catch (const std::exception& e) {
        ADD_FAILURE() << "wrong exception for " << desc.toString() << ": " << e.what();
    }
    EXPECT_EQ(getLiveImageStorageBytes(), before);
    EXPECT_THROW(checkDescription(desc), ImageException);
}

ImageDescription sized(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                       std::uint64_t z, std::uint64_t c, std::uint64_t t) {
    return ImageDescription::make(
        type, x, y, z == 1 ? VolumeGeometry::make2d() : VolumeGeometry::make3d(z),
        c == 1 ? ColorGeometry::grey() : ColorGeometry::multiChannel(c),
        t == 1 ? TemporalGeometry::single() : TemporalGeometry::sequence(t));
}

TEST(ImageSize, ZeroSizesAreRefused) {
    for (const auto& f : allTypes()) {
        expectRefused(sized(f.type, 0, 5, 1, 1, 1), "at least 1");
        expectRefused(sized(f.type, 5, 0, 1, 1, 1), "at least 1");
        expectRefused(sized(f.type, 5, 5, 0, 1, 1), "at least 1");
        expectRefused(sized(f.type, 5, 5, 1, 0, 1), "at least 1");
        expectRefused(sized(f.type, 5, 5, 1, 1, 0), "at least 1");
        expectRefused(sized(f.type, 0, 0, 0, 0, 0), "at least 1");
    }
}

TEST(ImageSize, OverflowingSizesAreRefused) {
    const std::uint64_t p32 = std::uint64_t{1} << 32;
    for (const auto& f : allTypes()) {
        expectRefused(sized(f.type, p32, p32, 1, 1, 1), "exceeds the limit");  // x*y overflows
        expectRefused(sized(f.type, kMax, 1, 1, 1, 1), "exceeds the limit");   // padding overflows
        expectRefused(sized(f.type, kMax - 100, 1, 1, 1, 1),
                      "exceeds the limit");  // rounding up overflows
        expectRefused(sized(f.type, p32, 1, p32, 1, 1), "exceeds the limit");    // planes overflow
        expectRefused(sized(f.type, 64, 64, p32, p32, 2), "exceeds the limit");  // z*c*t overflows
        expectRefused(sized(f.type, 1 << 16, 1 << 16, 1 << 16, 1 << 16, 1), "exceeds the limit");
        expectRefused(sized(f.type, 64, 1, 1, 1, kMax), "exceeds the limit");
        // Elements fit 64 bits, bytes do not (elements = 2^62).
        expectRefused(sized(f.type, std::uint64_t{1} << 31, std::uint64_t{1} << 31, 1, 1, 1),
                      "exceeds the limit");
    }
}

TEST(ImageSize, TheByteLimitIsExact) {
    for (const auto& f : allTypes()) {
        // Planes of 64 x 64 elements, as many as the limit holds, then one more.
        const std::uint64_t planeBytes = 64 * 64 * f.bytes;
        const std::uint64_t planes = s_maxImageBytes / planeBytes;
        EXPECT_NO_THROW(checkDescription(sized(f.type, 64, 64, planes, 1, 1))) << f.name;
        expectRefused(sized(f.type, 64, 64, planes + 1, 1, 1), "exceeds the limit");
        expectRefused(sized(f.type, 64, 64, planes / 2 + 1, 2, 1), "exceeds the limit");
        // The padding counts: 65 elements per plane take 128.
        const std::uint64_t paddedPlanes = s_maxImageBytes / (128 * f.bytes);
        EXPECT_NO_THROW(checkDescription(sized(f.type, 65, 1, paddedPlanes, 1, 1)));
        expectRefused(sized(f.type, 65, 1, paddedPlanes + 1, 1, 1), "exceeds the limit");
    }
    EXPECT_EQ(s_maxImageBytes, std::uint64_t{1} << 39);  // the documented limit
}

TEST(ImageSize, SizesNoMachineHoldsNeverReachTheAllocator) {
    // 2^45 bytes (32 TiB) in several shapes: an allocator asked for that much
    // aborts under AddressSanitizer instead of failing, so the size must be
    // refused first, by every way of making an owning image.
    const std::uint64_t m = std::uint64_t{1} << 20;
    const std::vector<ImageDescription> huge = {
        sized(eImageBufferType::eUInt8, m, m, 32, 1, 1),
        sized(eImageBufferType::eFloat, m, m, 1, 4, 2),
        sized(eImageBufferType::eInt16, m, m / 2, 1, 1, 32),
        sized(eImageBufferType::eLabel32, 1, 1, 1, 1, std::uint64_t{1} << 37),  // padding counts
    };
    for (const ImageDescription& desc : huge) {
        expectRefused(desc, "exceeds the limit");
        const std::uint64_t before = getLiveImageStorageBytes();
        EXPECT_THROW(Image::create(desc, Image::eInit::eZero), ImageException) << desc.toString();
        EXPECT_EQ(getLiveImageStorageBytes(), before);
    }
}

TEST(ImageSize, InvalidBufferTypesAreRefused) {
    for (const int value : {0, 12, 255}) {
        auto desc = ImageDescription::make2d(eImageBufferType::eUInt8, 4, 4);
        desc.bufferType = static_cast<eImageBufferType::domain>(value);
        expectRefused(desc, "buffer type");
        EXPECT_FALSE(isValidBufferType(value));
        EXPECT_EQ(getImageBufferBaseSize(desc.bufferType), 0u);
    }
}

TEST(ImageSize, ZeroExtentGeometriesAreRefused) {
    expectRefused(ImageDescription::make3d(eImageBufferType::eFloat, 4, 4, 0), "at least 1");
    expectRefused(
        ImageDescription::make(eImageBufferType::eFloat, 4, 4, {}, ColorGeometry::multiChannel(0)),
        "at least 1");
    expectRefused(ImageDescription::make(eImageBufferType::eFloat, 4, 4, {}, {},
                                         TemporalGeometry::sequence(0)),
                  "at least 1");
}

TEST(ImageSize, SameSizeComparesEveryDimensionNotTheType) {
    const auto a = Image::create(sized(eImageBufferType::eUInt8, 5, 4, 3, 2, 2));
    EXPECT_TRUE(a->sameSize(*Image::create(sized(eImageBufferType::eFloat, 5, 4, 3, 2, 2))));
    EXPECT_FALSE(a->sameSize(*Image::create(sized(eImageBufferType::eUInt8, 4, 5, 3, 2, 2))));
    EXPECT_FALSE(a->sameSize(*Image::create(sized(eImageBufferType::eUInt8, 5, 4, 2, 3, 2))));
    EXPECT_FALSE(a->sameSize(*Image::create(sized(eImageBufferType::eUInt8, 5, 4, 3, 2, 1))));
    EXPECT_FALSE(a->sameSize(*Image::create(sized(eImageBufferType::eUInt8, 5, 4, 3, 1, 2))));
}

// ---- ownership
// -----------------------------------------------------------------------------------

TEST(ImageStorage, ViewsKeepTheirParentAndStorageIsReleased) {
    const std::uint64_t before = getLiveImageStorageBytes();
    ImagePtr view;
    {
        ImagePtr parent = Image::create(sized(eImageBufferType::eInt16, 65, 3, 4, 1, 1));
        EXPECT_EQ(getLiveImageStorageBytes() - before, 256u * 4 * 2);  // 4 planes of 256 int16
        parent->setValue(-9.0, 64, 2, 3);
        view = ImageView::create(parent, ImageView::Box::plane2d(3, 0, 0));
        EXPECT_EQ(getLiveImageStorageBytes() - before, 256u * 4 * 2);  // a view takes no storage
    }
    EXPECT_EQ(view->getValue(64, 2), -9.0);
    EXPECT_GT(getLiveImageStorageBytes(), before);
    view.reset();
    EXPECT_EQ(getLiveImageStorageBytes(), before);
}

TEST(ImageStorage, UninitializedImagesStillHaveZeroPadding) {
    for (const auto& f : allTypes()) {
        const auto img = Image::create(sized(f.type, 3, 5, 2, 2, 1), Image::eInit::eUninitialized);
        for (std::uint64_t c = 0; c < 2; ++c)
            for (std::uint64_t z = 0; z < 2; ++z) {
                const auto* plane = static_cast<const std::byte*>(img->planeData(z, c));
                for (std::uint64_t i = 15 * f.bytes; i < 64 * f.bytes; ++i)
                    ASSERT_EQ(plane[i], std::byte{0});
            }
    }
}

TEST(ImageDescriptionText, NamesTypeAndDimensions) {
    EXPECT_EQ(ImageDescription::make2d(eImageBufferType::eUInt8, 640, 480).toString(),
              "uint8 640x480");
    EXPECT_EQ(sized(eImageBufferType::eFloat, 3, 2, 4, 5, 6).toString(), "float 3x2 z=4 c=5 t=6");
}

}  // namespace

// Large images get storage of their own on a huge-page boundary; small ones come
// from the heap. Either way the storage starts on 64 bytes, is zero where asked
// (padding always), holds what is written and is counted until released.
TEST(ImageStorage, LargeImagesAreHugePageAlignedSmallOnesHeapAllocated) {
    struct Case {
        eImageBufferType::domain type;
        std::uint64_t x, y;
        Image::eInit init;
        bool large;
    };
    const Case cases[] = {
        {eImageBufferType::eUInt8, 2048, 2047, Image::eInit::eZero, false},  // just under 4 MiB
        {eImageBufferType::eUInt8, 2048, 2048, Image::eInit::eZero, true},
        {eImageBufferType::eFloat, 1000, 1111, Image::eInit::eUninitialized, true},
        {eImageBufferType::eUInt16, 999, 2101, Image::eInit::eZero, true},  // padded plane
        {eImageBufferType::eInt8, 300, 7, Image::eInit::eUninitialized, false},
    };
    for (const Case& c : cases) {
        const std::uint64_t before = getLiveImageStorageBytes();
        {
            const ImagePtr img = Image::create(ImageDescription::make2d(c.type, c.x, c.y), c.init);
            const auto address = reinterpret_cast<std::uintptr_t>(img->planeData());
            EXPECT_EQ(address % 64, 0u);
            if (c.large) {
                EXPECT_EQ(address % (std::uint64_t{2} << 20), 0u) << c.x << "x" << c.y;
            }
            const std::uint64_t pixels = c.x * c.y, stored = img->getPlaneStride() * img->getElementSize();
            EXPECT_EQ(getLiveImageStorageBytes() - before, stored);
            const auto* bytes = static_cast<const unsigned char*>(img->planeData());
            const std::uint64_t from = c.init == Image::eInit::eZero ? 0 : pixels * img->getElementSize();
            for (std::uint64_t i = from; i < stored; i += 4093) ASSERT_EQ(bytes[i], 0u) << "byte " << i;
            ASSERT_EQ(bytes[stored - 1], 0u);
            img->setValue(7.0, c.x - 1, c.y - 1);
            EXPECT_EQ(img->getValue(c.x - 1, c.y - 1), 7.0);
        }
        EXPECT_EQ(getLiveImageStorageBytes(), before);
    }
}
