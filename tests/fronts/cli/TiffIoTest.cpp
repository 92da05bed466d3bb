// Reading and writing TIFF files: every sample format, compression, strip and
// tile layout, planar configuration and byte order, compared value by value with
// what libtiff itself wrote or reads; and the stack kinds.

#include "Failure.h"
#include "Stack.h"
#include "TiffIo.h"
#include "fronts/cli/TiffSamples.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

namespace vimra::cli::test {
namespace {

namespace fs = std::filesystem;
using image::eImageBufferType;

constexpr std::uint64_t s_maxAlloc = std::uint64_t{1} << 30;

std::string describe(const SampleFormat& s) {
    std::string d = std::string(image::bufferTypeName(s.type)) + "_" + std::to_string(s.samples) + "s_" +
                    compressionName(s.compression) + (s.tile ? "_tile" + std::to_string(s.tile)
                                                             : "_rps" + std::to_string(s.rowsPerStrip)) +
                    (s.planar == PLANARCONFIG_SEPARATE ? "_separate" : "") + (s.bigEndian ? "_be" : "_le") +
                    (s.bigTiff ? "_bigtiff" : "");
    for (char& c : d)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return d;
}

std::vector<SampleFormat> allFormats() {
    struct Layout {
        std::uint16_t samples;
        std::uint32_t tile, rps;
        std::uint16_t planar;
    };
    const Layout layouts[] = {
        {1, 0, 5, PLANARCONFIG_CONTIG},  {1, 0, 1, PLANARCONFIG_CONTIG},  {1, 16, 0, PLANARCONFIG_CONTIG},
        {3, 0, 4, PLANARCONFIG_CONTIG},  {3, 0, 3, PLANARCONFIG_SEPARATE}, {4, 16, 0, PLANARCONFIG_SEPARATE},
        {4, 32, 0, PLANARCONFIG_CONTIG},
    };
    const std::uint16_t compressions[] = {COMPRESSION_NONE,     COMPRESSION_LZW,  COMPRESSION_ADOBE_DEFLATE,
                                          COMPRESSION_PACKBITS, COMPRESSION_ZSTD, COMPRESSION_LZMA};
    std::vector<SampleFormat> formatList;
    std::uint32_t seed = 1;
    for (int t = 1; t <= 7; ++t)
        for (const Layout& l : layouts)
            for (std::uint16_t c : compressions) {
                if (!TIFFIsCODECConfigured(c)) continue;
                // The slow codecs on one strip and one tile layout; the others everywhere.
                const bool slow = c == COMPRESSION_LZMA || c == COMPRESSION_ZSTD;
                if (slow && &l != &layouts[0] && &l != &layouts[5]) continue;
                for (bool be : {false, true}) {
                    SampleFormat s;
                    s.type = static_cast<eImageBufferType::domain>(t);
                    s.samples = l.samples;
                    s.tile = l.tile;
                    s.rowsPerStrip = l.rps;
                    s.planar = l.planar;
                    s.compression = c;
                    s.bigEndian = be;
                    s.bigTiff = (seed % 5) == 0;
                    s.seed = seed++;
                    formatList.push_back(s);
                }
            }
    return formatList;
}

class FormatRoundTrip : public ::testing::TestWithParam<SampleFormat> {};

// The reader's values equal those libtiff was given, read in bands that cut
// across strips and tiles; the writer's file, read back by libtiff, holds the
// same values and tags.
TEST_P(FormatRoundTrip, ReaderAndWriterAgreeWithLibtiff) {
    const SampleFormat sampleFormat = GetParam();
    TempDir tmp;
    const std::string in = tmp.file("in.tif");
    writeSample(in, sampleFormat);

    TiffReader reader(in, s_maxAlloc);
    ASSERT_EQ(reader.format().type, sampleFormat.type);
    ASSERT_EQ(reader.format().samples, sampleFormat.samples);
    EXPECT_EQ(reader.metadata().bigEndian, sampleFormat.bigEndian);
    EXPECT_EQ(reader.metadata().bigTiff, sampleFormat.bigTiff);
    for (std::uint32_t y0 = 0; y0 < sampleFormat.height; y0 += 7) {
        const std::uint32_t rows = std::min<std::uint32_t>(7, sampleFormat.height - y0);
        const auto band = readPageBand(reader, 0, y0, rows);
        ASSERT_EQ(band->getSizeC(), sampleFormat.samples);
        for (std::uint32_t c = 0; c < sampleFormat.samples; ++c)
            for (std::uint32_t y = 0; y < rows; ++y)
                for (std::uint32_t x = 0; x < sampleFormat.width; ++x)
                    ASSERT_EQ(band->getValue(x, y, 0, c), sampleValue(sampleFormat, 0, x, y0 + y, c))
                        << "x=" << x << " y=" << y0 + y << " c=" << c;
    }

    const StackLayout layout = layoutOf(reader, eStackMode::eAuto);
    const auto img = readStack(reader, layout);
    const std::string out = tmp.file("out.tif");
    {
        WriteFormat wf = outputFormat(sampleFormat.type, sampleFormat.width, sampleFormat.height, layout, layout, reader.format(),
                                      reader.metadata());
        TiffWriter writer(out, wf, false, {in});
        writeStack(writer, *img, layout);
        writer.commit();
    }
    const ReadBack back = readBack(out);
    const auto [format, bits] = formatOf(sampleFormat.type);
    EXPECT_EQ(back.format, format);
    EXPECT_EQ(back.bits, bits);
    EXPECT_EQ(back.samples, sampleFormat.samples);
    EXPECT_EQ(back.planar, sampleFormat.samples > 1 ? sampleFormat.planar : PLANARCONFIG_CONTIG);
    EXPECT_EQ(back.compression, sampleFormat.compression);
    EXPECT_EQ(back.photometric, sampleFormat.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    EXPECT_EQ(back.bigEndian, sampleFormat.bigEndian);
    EXPECT_FLOAT_EQ(back.xres, 300.0f);
    EXPECT_FLOAT_EQ(back.yres, 150.0f);
    EXPECT_EQ(back.resUnit, RESUNIT_CENTIMETER);
    EXPECT_EQ(back.software.rfind("vimra-arith", 0), 0u);
    ASSERT_EQ(back.pages.size(), 1u);
    for (std::uint32_t c = 0; c < sampleFormat.samples; ++c)
        for (std::uint32_t y = 0; y < sampleFormat.height; ++y)
            for (std::uint32_t x = 0; x < sampleFormat.width; ++x)
                ASSERT_EQ(back.pages[0][c][std::size_t{y} * sampleFormat.width + x], sampleValue(sampleFormat, 0, x, y, c));
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, FormatRoundTrip, ::testing::ValuesIn(allFormats()),
                         [](const auto& info) { return describe(info.param); });

// ---- stacks ---------------------------------------------------------------------------------

struct StackCase {
    const char* name;
    std::uint32_t pages;
    std::uint16_t samples;
    std::string description;
    eStackMode mode;
    std::uint64_t z, c, t;
    bool channelsInSamples;
    std::string written = "";  ///< description of the written file, when not the input's
};

class StackKinds : public ::testing::TestWithParam<StackCase> {};

// Each plane of the image comes from the page and sample the stack kind says,
// and writing the image back reproduces the file page for page.
TEST_P(StackKinds, PlanesComeFromTheirPagesAndGoBack) {
    const StackCase& k = GetParam();
    TempDir tmp;
    SampleFormat sampleFormat;
    sampleFormat.pages = k.pages;
    sampleFormat.samples = k.samples;
    sampleFormat.description = k.description;
    sampleFormat.type = eImageBufferType::eInt16;
    const std::string in = tmp.file("stack.tif");
    writeSample(in, sampleFormat);

    TiffReader reader(in, s_maxAlloc);
    const StackLayout layout = layoutOf(reader, k.mode);
    ASSERT_EQ(layout.pages(), k.pages);
    const auto img = readStack(reader, layout);
    EXPECT_EQ(img->getSizeZ(), k.z);
    EXPECT_EQ(img->getSizeC(), k.c);
    EXPECT_EQ(img->getSizeT(), k.t);
    EXPECT_EQ(layout.channelsInSamples, k.channelsInSamples);
    EXPECT_EQ(img->getVolumeGeometryType() == image::eVolumeGeometryType::e3d, k.z > 1);
    EXPECT_EQ(img->getTemporalGeometryType() == image::eTemporalGeometryType::eSequence, k.t > 1);
    for (std::uint64_t t = 0; t < k.t; ++t)
        for (std::uint64_t z = 0; z < k.z; ++z)
            for (std::uint64_t c = 0; c < k.c; ++c) {
                // Hyperstack pages run channel fastest, then slice, then frame.
                const auto page = static_cast<std::uint32_t>(
                    k.channelsInSamples ? z + k.z * t : c + k.c * (z + k.z * t));
                const auto sample = static_cast<std::uint32_t>(k.channelsInSamples ? c : 0);
                for (std::uint32_t y = 0; y < sampleFormat.height; y += 5)
                    for (std::uint32_t x = 0; x < sampleFormat.width; x += 3)
                        ASSERT_EQ(img->getValue(x, y, z, c, t), sampleValue(sampleFormat, page, x, y, sample))
                            << "z=" << z << " c=" << c << " t=" << t;
            }

    const std::string out = tmp.file("out.tif");
    const StackLayout outLayout = layoutForOutput(*img, layout);
    {
        TiffWriter writer(out,
                          outputFormat(img->getBufferType(), sampleFormat.width, sampleFormat.height, outLayout, layout,
                                       reader.format(), reader.metadata()),
                          false, {in});
        writeStack(writer, *img, outLayout);
        writer.commit();
    }
    const ReadBack back = readBack(out);
    ASSERT_EQ(back.pages.size(), k.pages);
    EXPECT_EQ(back.description, k.written.empty() ? k.description : k.written);
    for (std::uint32_t p = 0; p < k.pages; ++p)
        for (std::uint32_t s = 0; s < k.samples; ++s)
            for (std::uint32_t y = 0; y < sampleFormat.height; y += 4)
                ASSERT_EQ(back.pages[p][s][std::size_t{y} * sampleFormat.width + 1], sampleValue(sampleFormat, p, 1, y, s));
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, StackKinds,
    ::testing::Values(StackCase{"single", 1, 1, "", eStackMode::eAuto, 1, 1, 1, true},
                      StackCase{"volume", 6, 1, "", eStackMode::eAuto, 6, 1, 1, true},
                      StackCase{"sequence", 6, 1, "", eStackMode::eSequence, 1, 1, 6, true,
                                "ImageJ=1.11a\nimages=6\nframes=6\n"},
                      StackCase{"rgbVolume", 4, 3, "", eStackMode::eVolume, 4, 3, 1, true},
                      StackCase{"imagejSlices", 5, 1, "ImageJ=1.53t\nimages=5\nslices=5\n", eStackMode::eAuto, 5,
                                1, 1, true},
                      StackCase{"imagejFrames", 4, 1, "ImageJ=1.53t\nimages=4\nframes=4\n", eStackMode::eAuto, 1,
                                1, 4, true},
                      StackCase{"hyperstack", 12, 1,
                                "ImageJ=1.53t\nimages=12\nchannels=2\nslices=3\nframes=2\nhyperstack=true\n",
                                eStackMode::eAuto, 3, 2, 2, false},
                      StackCase{"imagejRgbSlices", 3, 3, "ImageJ=1.53t\nimages=3\nslices=3\n", eStackMode::eAuto,
                                3, 3, 1, true},
                      StackCase{"hyperstackReadAsVolume", 4, 1, "ImageJ=1.53t\nimages=4\nchannels=2\nslices=2\n",
                                eStackMode::eVolume, 4, 1, 1, true}),
    [](const auto& info) { return std::string(info.param.name); });

// Pages of one file may be stored differently (strips, tiles, planes, codecs):
// each is read with its own storage.
TEST(StackKinds, PagesStoredDifferentlyReadAsOneVolume) {
    TempDir tmp;
    std::vector<SampleFormat> pages(4);
    for (auto& p : pages) {
        p.samples = 3;
        p.type = eImageBufferType::eUInt8;
    }
    pages[1].tile = 16;
    pages[1].compression = COMPRESSION_LZW;
    pages[2].planar = PLANARCONFIG_SEPARATE;
    pages[2].rowsPerStrip = 2;
    pages[3].tile = 32;
    pages[3].planar = PLANARCONFIG_SEPARATE;
    pages[3].compression = COMPRESSION_ADOBE_DEFLATE;
    const std::string in = tmp.file("mixed.tif");
    writeSamplePages(in, pages);
    TiffReader reader(in, s_maxAlloc);
    const auto img = readStack(reader, layoutOf(reader, eStackMode::eAuto));
    ASSERT_EQ(img->getSizeZ(), 4u);
    for (std::uint32_t z = 0; z < 4; ++z)
        for (std::uint32_t c = 0; c < 3; ++c)
            for (std::uint32_t y = 0; y < pages[z].height; ++y)
                for (std::uint32_t x = 0; x < pages[z].width; ++x)
                    ASSERT_EQ(img->getValue(x, y, z, c), sampleValue(pages[z], z, x, y, c))
                        << "x=" << x << " y=" << y << " z=" << z << " c=" << c;
}

// Descriptions that cannot describe the file are refused with the counts named.
TEST(StackKinds, InconsistentImageJDescriptionsAreFileErrors) {
    TempDir tmp;
    for (const std::string desc : {"ImageJ=1.53t\nimages=6\nchannels=2\nslices=2\n",
                                   "ImageJ=1.53t\nimages=40\nslices=40\n",
                                   "ImageJ=1.53t\nimages=4\nchannels=0\nslices=4\n",
                                   "ImageJ=1.53t\nimages=4\nchannels=2\nslices=2\n"}) {
        SampleFormat sampleFormat;
        sampleFormat.pages = 4;
        sampleFormat.description = desc;
        sampleFormat.samples = desc.find("channels=2\nslices=2") != std::string::npos ? 3 : 1;
        const std::string in = tmp.file("bad.tif");
        writeSample(in, sampleFormat);
        TiffReader reader(in, s_maxAlloc);
        try {
            layoutOf(reader, eStackMode::eAuto);
            ADD_FAILURE() << "accepted: " << desc;
        } catch (const Failure& f) {
            EXPECT_EQ(f.code(), eExit::eFile);
            EXPECT_EQ(f.file(), in);
        }
    }
}

TEST(StackKinds, ImageJDescriptionParsing) {
    EXPECT_FALSE(parseImageJ("written by a scanner"));
    const auto h = parseImageJ("ImageJ=1.53t\nimages=24\nchannels=2\nslices=4\nframes=3\nunit=micron\n");
    ASSERT_TRUE(h);
    EXPECT_EQ(h->images, 24u);
    EXPECT_EQ(h->channels, 2u);
    EXPECT_EQ(h->slices, 4u);
    EXPECT_EQ(h->frames, 3u);
    // Written descriptions read back to the same counts.
    const auto again = parseImageJ(imageJDescription(2, 4, 3));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->images, 24u);
    EXPECT_EQ(again->channels * again->slices * again->frames, 24u);
    EXPECT_EQ(again->slices, 4u);
}

// ---- the writer's file handling ---------------------------------------------------------------

TEST(TiffWriter, NothingIsLeftWhenNotCommitted) {
    TempDir tmp;
    const std::string out = tmp.file("never.tif");
    WriteFormat wf;
    wf.width = 8;
    wf.height = 8;
    {
        TiffWriter writer(out, wf, false, {});
        EXPECT_TRUE(fs::exists(writer.temporaryPath()));
        EXPECT_EQ(fs::path(writer.temporaryPath()).parent_path(), tmp.dir);
    }
    EXPECT_TRUE(fs::is_empty(tmp.dir));
}

TEST(TiffWriter, RefusesExistingFilesAndInputs) {
    TempDir tmp;
    const std::string existing = tmp.file("existing.tif");
    writeSample(existing, SampleFormat{});
    WriteFormat wf;
    wf.width = 8;
    wf.height = 8;
    try {
        TiffWriter writer(existing, wf, false, {});
        ADD_FAILURE() << "overwrote without force";
    } catch (const Failure& f) {
        EXPECT_EQ(f.code(), eExit::eFile);
    }
    try {
        TiffWriter writer(existing, wf, true, {tmp.file("./existing.tif")});
        ADD_FAILURE() << "wrote over an input";
    } catch (const Failure& f) {
        EXPECT_EQ(f.code(), eExit::eUsage);
    }
    EXPECT_EQ(readBack(existing).pages.size(), 1u);
    EXPECT_EQ(std::distance(fs::directory_iterator(tmp.dir), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace vimra::cli::test
