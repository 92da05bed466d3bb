// Border policies, strips read through a neighbourhood, and the strip parsers.

#include "ImageTestUtil.h"

#include <vimra/image/StripParser.h>

#include <boost/weak_ptr.hpp>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using namespace vimra::image;
using namespace vimra::image::test;

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

// Where a read at index i of a line of n elements lands, by walking the
// reflections and repetitions one at a time; -1 for a constant.
std::int64_t referenceIndex(eBorderPolicyType::domain type, std::int64_t i, std::int64_t n) {
    switch (type) {
        case eBorderPolicyType::eConstant:
            return i < 0 || i >= n ? -1 : i;
        case eBorderPolicyType::eNearest:
            return i < 0 ? 0 : i >= n ? n - 1 : i;
        case eBorderPolicyType::ePeriodic:
            while (i < 0) i += n;
            while (i >= n) i -= n;
            return i;
        case eBorderPolicyType::eMirror:
            if (n == 1) return 0;
            while (i < 0 || i >= n)
                i = i < 0 ? -i : 2 * (n - 1) - i;  // ... 2 1 | 0 1 2 ... n-1 | n-2 ...
            return i;
        case eBorderPolicyType::eMirrorEdge:
            while (i < 0 || i >= n)
                i = i < 0 ? -1 - i : 2 * n - 1 - i;  // ... 1 0 | 0 1 ... n-1 | n-1 ...
            return i;
    }
    return -2;
}

std::vector<BorderPolicy> allPolicies(double constant) {
    return {BorderPolicy::constant(constant), BorderPolicy::nearest(), BorderPolicy::mirror(),
            BorderPolicy::mirrorEdge(), BorderPolicy::periodic()};
}

TEST(BorderPolicy, IndicesFoldLikeTheReference) {
    for (const auto& policy : allPolicies(0.0))
        for (std::int64_t n = 1; n <= 9; ++n)
            for (std::int64_t i = -40; i <= 48; ++i)
                ASSERT_EQ(mapBorderIndex(policy.getType(), i, n),
                          referenceIndex(policy.getType(), i, n))
                    << "policy " << int(policy.getType()) << " i " << i << " n " << n;
    // The documented examples.
    EXPECT_EQ(mapBorderIndex(eBorderPolicyType::eMirror, -1, 5), 1);
    EXPECT_EQ(mapBorderIndex(eBorderPolicyType::eMirrorEdge, -1, 5), 0);
    EXPECT_EQ(mapBorderIndex(eBorderPolicyType::ePeriodic, -1, 5), 4);
    EXPECT_EQ(mapBorderIndex(eBorderPolicyType::eMirror, 5, 5), 3);
    EXPECT_EQ(BorderPolicy(), BorderPolicy::constant(0.0));
    EXPECT_EQ(BorderPolicy::constant(2.5).getConstant(), 2.5);
}

template <class S>
struct Holder {
    S strip;
    const S& getStrip() const { return strip; }
};

// The value a widened read must give: the image pixel the reference indices
// select, or the constant as the element type stores it.
double expectedRead(const TypeFacts& f, const BaseImage& img, const BorderPolicy& policy,
                    std::int64_t x, std::int64_t y, std::int64_t z, std::uint64_t c,
                    std::uint64_t t) {
    const auto type = policy.getType();
    const std::int64_t xi = referenceIndex(type, x, static_cast<std::int64_t>(img.getSizeX()));
    const std::int64_t yi = referenceIndex(type, y, static_cast<std::int64_t>(img.getSizeY()));
    const std::int64_t zi = referenceIndex(type, z, static_cast<std::int64_t>(img.getSizeZ()));
    if (xi < 0 || yi < 0 || zi < 0) return storedValue(f, policy.getConstant());
    return patternValue(
        f, linearIndex(img, static_cast<std::uint64_t>(xi), static_cast<std::uint64_t>(yi),
                       static_cast<std::uint64_t>(zi), c, t));
}

struct Margins {
    std::uint64_t x, y, z;
};

TEST(YStrip2dWithKernel, WidenedReadsFollowTheBorderPolicy) {
    for (const auto& f : allTypes())
        for (const auto& size :
             std::vector<std::pair<std::uint64_t, std::uint64_t>>{{1, 1}, {5, 3}, {13, 7}, {64, 2}})
            for (const Margins m :
                 std::vector<Margins>{{0, 0, 0}, {1, 1, 0}, {2, 3, 0}, {9, 6, 0}}) {
                const auto [sizeX, sizeY] = size;
                const auto img = Image::create(
                    ImageDescription::make(f.type, sizeX, sizeY, VolumeGeometry::make3d(2),
                                           ColorGeometry::multiChannel(2)));
                fillPattern(*img, f);
                const BaseImage& cimg = *img;
                // A constant that must be clamped in the small types, and one that is not.
                for (const double constant : {-7.9, 1e12}) {
                    using H = Holder<InputImageYStrip2dWithKernel>;
                    H holder;
                    // One parser serves every strip and policy, as in a level-3 run.
                    const auto parser =
                        StripParserInfo<LineStripParserMode, H>::createParser(holder);
                    for (const auto& policy : allPolicies(constant))
                        for (const std::uint64_t h : {std::uint64_t{1}, std::uint64_t{2}, sizeY})
                            for (std::uint64_t startY = 0; startY < sizeY; startY += h) {
                                const std::uint64_t rows = std::min(h, sizeY - startY);
                                SCOPED_TRACE(testing::Message()
                                             << f.name << " " << sizeX << "x" << sizeY
                                             << " margins " << m.x << "," << m.y << " policy "
                                             << int(policy.getType()) << " rows " << startY << "+"
                                             << rows);
                                holder.strip = InputImageYStrip2dWithKernel(cimg, startY, rows, m.x,
                                                                            m.y, 1, 1);
                                EXPECT_EQ(holder.strip.getStartingKernelSizeX(), m.x);
                                EXPECT_EQ(holder.strip.getStartingKernelSizeY(), m.y);
                                EXPECT_EQ(holder.strip.getStripStartOffsetY(), startY);
                                EXPECT_EQ(holder.strip.getData(),
                                          static_cast<const std::byte*>(cimg.planeData(1, 1)) +
                                              startY * sizeX * f.bytes);
                                parser->setBorder2dPolicy(policy);
                                const std::uint64_t pitch = parser->getRowPitch();
                                EXPECT_EQ(pitch % 64, 0u);
                                EXPECT_GE(pitch, sizeX + 2 * m.x);
                                const auto* first = static_cast<const std::byte*>(
                                    parser->accessBuffer(-static_cast<std::int64_t>(m.y)));
                                EXPECT_EQ(
                                    reinterpret_cast<std::uintptr_t>(first - m.x * f.bytes) % 64,
                                    0u);
                                withElement(f.elementIndex, [&]<class T>() {
                                    // Whole-vector loads from the last row's start stay in the
                                    // buffer (the sanitizer build checks the reach).
                                    const auto* last = static_cast<const T*>(parser->accessBuffer(
                                        static_cast<std::int64_t>(rows + m.y) - 1));
                                    volatile T reach = last[-static_cast<std::int64_t>(m.x) +
                                                            static_cast<std::int64_t>(pitch) + 63];
                                    (void)reach;
                                    for (std::int64_t r = -static_cast<std::int64_t>(m.y);
                                         r < static_cast<std::int64_t>(rows + m.y); ++r) {
                                        const T* row =
                                            static_cast<const T*>(parser->accessBuffer(r));
                                        ASSERT_EQ(
                                            reinterpret_cast<const std::byte*>(row),
                                            first + (r + static_cast<std::int64_t>(m.y)) *
                                                        static_cast<std::int64_t>(pitch * f.bytes));
                                        for (std::int64_t x = -static_cast<std::int64_t>(m.x);
                                             x < static_cast<std::int64_t>(sizeX + m.x); ++x)
                                            ASSERT_EQ(
                                                static_cast<double>(row[x]),
                                                expectedRead(f, cimg, policy, x,
                                                             static_cast<std::int64_t>(startY) + r,
                                                             1, 1, 0))
                                                << "x " << x << " row " << r;
                                    }
                                });
                            }
                }
            }
}

TEST(ZStrip3dWithKernel, WidenedReadsFollowTheBorderPolicy) {
    for (const auto& f : allTypes())
        for (const Margins m : std::vector<Margins>{{0, 0, 0}, {1, 1, 1}, {2, 0, 3}, {0, 3, 8}}) {
            const auto img = Image::create(ImageDescription::make(
                f.type, 5, 4, VolumeGeometry::make3d(6), ColorGeometry::multiChannel(2),
                TemporalGeometry::sequence(2)));
            fillPattern(*img, f);
            const BaseImage& cimg = *img;
            using H = Holder<InputImageZStrip3dWithKernel>;
            H holder;
            const auto parser = StripParserInfo<LineStripParserMode, H>::createParser(holder);
            for (const auto& policy : allPolicies(-7.9))
                for (const std::uint64_t depth : {1, 2, 6})
                    for (std::uint64_t startZ = 0; startZ < 6; startZ += depth) {
                        const std::uint64_t planes = std::min<std::uint64_t>(depth, 6 - startZ);
                        SCOPED_TRACE(testing::Message()
                                     << f.name << " margins " << m.x << "," << m.y << "," << m.z
                                     << " policy " << int(policy.getType()) << " planes " << startZ
                                     << "+" << planes);
                        holder.strip =
                            InputImageZStrip3dWithKernel(cimg, startZ, planes, m.x, m.y, m.z, 1, 1);
                        EXPECT_EQ(holder.strip.getStartingKernelSizeX(), m.x);
                        EXPECT_EQ(holder.strip.getStartingKernelSizeY(), m.y);
                        EXPECT_EQ(holder.strip.getStartingKernelSizeZ(), m.z);
                        EXPECT_EQ(holder.strip.getStripStartOffsetZ(), startZ);
                        EXPECT_EQ(holder.strip.getSizeZ(), planes);
                        EXPECT_EQ(holder.strip.getData(), cimg.planeData(startZ, 1, 1));
                        parser->setBorder3dPolicy(policy);
                        EXPECT_EQ(parser->getPlanePitch(), parser->getRowPitch() * (4 + 2 * m.y));
                        withElement(f.elementIndex, [&]<class T>() {
                            const auto mx = static_cast<std::int64_t>(m.x),
                                       my = static_cast<std::int64_t>(m.y),
                                       mz = static_cast<std::int64_t>(m.z);
                            for (std::int64_t p = -mz; p < static_cast<std::int64_t>(planes) + mz;
                                 ++p)
                                for (std::int64_t r = -my; r < 4 + my; ++r) {
                                    const T* row =
                                        static_cast<const T*>(parser->accessBuffer(r, p));
                                    for (std::int64_t x = -mx; x < 5 + mx; ++x)
                                        ASSERT_EQ(static_cast<double>(row[x]),
                                                  expectedRead(
                                                      f, cimg, policy, x, r,
                                                      static_cast<std::int64_t>(startZ) + p, 1, 1))
                                            << "x " << x << " row " << r << " plane " << p;
                                }
                        });
                    }
        }
}

TEST(StripWithKernel, OversizedMarginsAndBandsAreRefused) {
    const auto img = Image::create3d(eImageBufferType::eFloat, 8, 8, 4);
    const BaseImage& cimg = *img;
    const std::uint64_t big = std::uint64_t{1} << 40;
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 0, 8, kMax, 0), ImageException);
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 0, 8, 0, kMax / 2 + 1), ImageException);
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 0, 8, big, big), ImageException);
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 4, 5, 1, 1), ImageException);
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 0, 1, 1, 1, 4), ImageException);
    EXPECT_THROW(InputImageZStrip3dWithKernel(cimg, 0, 4, 1, 1, kMax), ImageException);
    EXPECT_THROW(InputImageZStrip3dWithKernel(cimg, 0, 4, big, 0, big), ImageException);
    EXPECT_THROW(InputImageZStrip3dWithKernel(cimg, 3, 2, 1, 1, 1), ImageException);
    KernelStripSource source;
    source.sizeX = 1;
    source.rows = 1;
    source.planes = 1;
    source.marginX = std::uint64_t{1} << 62;
    EXPECT_THROW(kernelStripBufferBytes(source), ImageException);
    source.marginX = 0;
    EXPECT_EQ(kernelStripBufferBytes(source), 128u);  // one padded row plus the tail
}

TEST(StripWithKernel, WidenedStripsNoMachineHoldsAreRefusedBeforeAllocating) {
    // Rows of 8 floats widen to a pitch of 64 elements (256 bytes): 2^37 rows
    // are 2^45 bytes (32 TiB), which an allocator under AddressSanitizer
    // answers by aborting. The strip and the buffer builder both refuse it.
    const auto img = Image::create3d(eImageBufferType::eFloat, 8, 8, 4);
    const BaseImage& cimg = *img;
    const std::uint64_t margin = std::uint64_t{1} << 36;
    EXPECT_THROW(InputImageYStrip2dWithKernel(cimg, 0, 8, 0, margin), ImageException);
    EXPECT_THROW(InputImageZStrip3dWithKernel(cimg, 0, 4, 0, 0, margin / 8), ImageException);

    KernelStripSource source;
    source.volume = static_cast<const std::byte*>(cimg.planeData());
    source.planeStride = cimg.getPlaneStride();
    source.sizeX = source.sizeY = 8;
    source.sizeZ = source.planes = 1;
    source.rows = 8;
    source.marginY = margin;
    source.type = eImageBufferType::eFloat;
    KernelStripBuffer buffer;
    EXPECT_THROW(buffer.build(source, BorderPolicy::nearest()), ImageException);
    // Just inside the limit the size is accepted (without building it).
    source.marginY = (s_maxImageBytes / 256 - 64 / 64 - 8) / 2;
    EXPECT_LE(kernelStripBufferBytes(source), s_maxImageBytes);
    ++source.marginY;
    EXPECT_THROW(kernelStripBufferBytes(source), ImageException);
}

// ---- parsers
// -------------------------------------------------------------------------------------

TEST(StripParser, RawAndLineParsersPresentTheStrip) {
    const auto img = Image::create(
        ImageDescription::make(eImageBufferType::eInt16, 65, 9, VolumeGeometry::make3d(2)));
    fillPattern(*img, allTypes()[2]);
    const BaseImage& cimg = *img;
    using In = Holder<InputImageYStrip2d>;
    using Out = Holder<OutputImageYStrip2d>;
    In in{InputImageYStrip2d(cimg, 3, 4, 1)};
    Out out{OutputImageYStrip2d(*img, 3, 4, 1)};

    const auto rawIn = StripParserInfo<RawStripParserMode, In>::createParser(in);
    const auto rawOut = StripParserInfo<RawStripParserMode, Out>::createParser(out);
    static_assert(std::is_same_v<decltype(rawIn->accessBuffer()), const void*>);
    static_assert(std::is_same_v<decltype(rawOut->accessBuffer()), void*>);
    static_assert(
        std::is_same_v<decltype(rawIn), const boost::shared_ptr<BaseRawYStrip2dParser<In>>>);
    static_assert(std::is_base_of_v<BaseStripParser, BaseRawYStrip2dParser<In>>);
    const auto* plane = static_cast<const std::byte*>(cimg.planeData(1));
    EXPECT_EQ(rawIn->accessBuffer(), plane + 3 * 65 * 2);
    EXPECT_EQ(rawOut->accessBuffer(), rawIn->accessBuffer());
    EXPECT_EQ(rawIn->getElementCount(), 4u * 65);

    const auto lineIn = StripParserInfo<LineStripParserMode, In>::createParser(in);
    const auto lineOut = StripParserInfo<LineStripParserMode, Out>::createParser(out);
    static_assert(std::is_same_v<decltype(lineIn->accessBuffer(0)), const void*>);
    static_assert(std::is_same_v<decltype(lineOut->accessBuffer(0)), void*>);
    EXPECT_EQ(lineIn->getSizeX(), 65u);
    EXPECT_EQ(lineIn->getSizeY(), 4u);
    for (std::uint64_t r = 0; r < 4; ++r) {
        EXPECT_EQ(lineIn->accessBuffer(r), plane + (3 + r) * 65 * 2);
        EXPECT_EQ(lineOut->accessBuffer(r), lineIn->accessBuffer(r));
    }
    // The parsers follow the holder to its next strip.
    in.strip = InputImageYStrip2d(cimg, 7, 2, 0);
    EXPECT_EQ(rawIn->accessBuffer(), static_cast<const std::byte*>(cimg.planeData(0)) + 7 * 65 * 2);
    EXPECT_EQ(lineIn->getSizeY(), 2u);
    // Typed writes through the line parser reach the image.
    static_cast<short*>(lineOut->accessBuffer(1))[64] = -1234;
    EXPECT_EQ(img->getValue(64, 4, 1), -1234.0);

    using ZIn = Holder<InputImageZStrip3d>;
    using ZOut = Holder<OutputImageZStrip3d>;
    ZIn zin{InputImageZStrip3d(cimg, 1, 1)};
    ZOut zout{OutputImageZStrip3d(*img, 0, 2)};
    const auto lineZIn = StripParserInfo<LineStripParserMode, ZIn>::createParser(zin);
    const auto lineZOut = StripParserInfo<LineStripParserMode, ZOut>::createParser(zout);
    static_assert(std::is_same_v<decltype(lineZIn->accessBuffer(0, 0)), const void*>);
    static_assert(std::is_same_v<decltype(lineZOut->accessBuffer(0, 0)), void*>);
    EXPECT_EQ(lineZIn->accessBuffer(2, 0), plane + 2 * 65 * 2);
    EXPECT_EQ(lineZOut->accessBuffer(2, 1), lineZIn->accessBuffer(2, 0));
    EXPECT_EQ(lineZOut->getSizeZ(), 2u);
    EXPECT_EQ(lineZOut->getSizeY(), 9u);
}

TEST(StripParser, ASharedHolderIsKeptAlive) {
    struct Attribute : Holder<InputImageYStrip2d> {};
    const auto img = Image::create2d(eImageBufferType::eUInt8, 3, 3);
    auto holder = boost::make_shared<Attribute>();
    holder->strip = InputImageYStrip2d(*img, 1, 1);
    const auto parser =
        StripParserInfo<RawStripParserMode, Holder<InputImageYStrip2d>, Attribute>::createParser(
            holder);
    const void* expected = holder->strip.getData();
    boost::weak_ptr<Attribute> watch = holder;
    holder.reset();
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(parser->accessBuffer(), expected);
}

// A flat kernel written the way vector kernels are (whole steps of 64, no tail)
// driven through raw parsers over strips cut by chooseStripHeight: it computes
// every pixel right, and its reads and writes past each strip stay in storage.
TEST(StripParser, FlatStepKernelOverStripsComputesEveryPixel) {
    for (const std::uint64_t sizeX : {1, 63, 64, 65, 1001}) {
        const std::uint64_t sizeY = 37;
        const auto a = Image::create3d(eImageBufferType::eFloat, sizeX, sizeY, 2);
        const auto b = Image::create3d(eImageBufferType::eFloat, sizeX, sizeY, 2);
        const auto out = Image::create3d(eImageBufferType::eFloat, sizeX, sizeY, 2);
        fillPattern(*a, allTypes()[6]);
        b->fill(0.5);
        using In = Holder<InputImageYStrip2d>;
        using Out = Holder<OutputImageYStrip2d>;
        In in1, in2;
        Out o;
        const auto p1 = StripParserInfo<RawStripParserMode, In>::createParser(in1);
        const auto p2 = StripParserInfo<RawStripParserMode, In>::createParser(in2);
        const auto po = StripParserInfo<RawStripParserMode, Out>::createParser(o);
        const std::uint64_t h = chooseStripHeight(sizeX, sizeY, 256);
        for (std::uint64_t z = 0; z < 2; ++z)
            for (std::uint64_t y = 0; y < sizeY; y += h) {
                const std::uint64_t rows = std::min(h, sizeY - y);
                in1.strip = InputImageYStrip2d(*a, y, rows, z);
                in2.strip = InputImageYStrip2d(*b, y, rows, z);
                o.strip = OutputImageYStrip2d(*out, y, rows, z);
                const auto* x1 = static_cast<const float*>(p1->accessBuffer());
                const auto* x2 = static_cast<const float*>(p2->accessBuffer());
                auto* dst = static_cast<float*>(po->accessBuffer());
                for (std::uint64_t i = 0; i < p1->getElementCount(); i += 64)
                    for (std::uint64_t k = i; k < i + 64; ++k) dst[k] = x1[k] + x2[k];
            }
        for (std::uint64_t z = 0; z < 2; ++z)
            for (std::uint64_t y = 0; y < sizeY; ++y)
                for (std::uint64_t x = 0; x < sizeX; ++x)
                    ASSERT_EQ(out->getValue(x, y, z),
                              patternValue(allTypes()[6], linearIndex(*out, x, y, z, 0, 0)) + 0.5)
                        << sizeX << ": " << x << "," << y << "," << z;
    }
}

}  // namespace
