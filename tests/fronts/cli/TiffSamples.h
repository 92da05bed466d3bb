#pragma once

// Test files made with libtiff directly (not through the tool's reader or
// writer), and an independent read-back, so that round trips check the tool
// against libtiff's own view of the file.

#include <vimra/image/BufferType.h>

#include <tiffio.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace vimra::cli::test {

/// A fresh folder, removed with everything in it at the end of the test.
struct TempDir {
    std::filesystem::path dir;
    TempDir() {
        std::string t = (std::filesystem::temp_directory_path() / "vimra-arith-test-XXXXXX").string();
        if (!::mkdtemp(t.data())) throw std::runtime_error("mkdtemp failed");
        dir = t;
    }
    ~TempDir() { std::filesystem::remove_all(dir); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string file(const std::string& name) const { return (dir / name).string(); }
    /// The names in the folder, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> n;
        for (const auto& e : std::filesystem::directory_iterator(dir)) n.push_back(e.path().filename().string());
        std::sort(n.begin(), n.end());
        return n;
    }
};

struct SampleFormat {
    std::uint32_t width = 37, height = 23;
    std::uint16_t samples = 1;
    image::eImageBufferType::domain type = image::eImageBufferType::eUInt16;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t tile = 0;         ///< tile edge (a multiple of 16); 0 for strips
    std::uint32_t rowsPerStrip = 5;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    bool bigEndian = false;
    bool bigTiff = false;
    std::uint32_t pages = 1;
    std::string description;
    std::uint16_t photometric = 0;  ///< 0: grey for 1 sample, RGB for 3 or 4
    std::uint32_t seed = 1;
};

inline std::pair<std::uint16_t, std::uint16_t> formatOf(image::eImageBufferType::domain t) {
    using image::eImageBufferType;
    const auto bits = static_cast<std::uint16_t>(8 * image::getImageBufferBaseSize(t));
    if (t == eImageBufferType::eFloat) return {SAMPLEFORMAT_IEEEFP, bits};
    if (t == eImageBufferType::eInt8 || t == eImageBufferType::eInt16 || t == eImageBufferType::eInt32)
        return {SAMPLEFORMAT_INT, bits};
    return {SAMPLEFORMAT_UINT, bits};
}

/// The value stored at (page, x, y, sample): scattered over the type's whole
/// range, extremes included, and exactly representable.
inline double sampleValue(const SampleFormat& s, std::uint32_t page, std::uint32_t x, std::uint32_t y,
                          std::uint32_t c) {
    std::uint64_t h = (std::uint64_t{page} * 7919 + y) * 104729 + x * 31 + c * 1000003 + s.seed * 2654435761u;
    h ^= h >> 13;
    h *= 0x9E3779B97F4A7C15ull;
    h ^= h >> 29;
    return image::visitElementType(s.type, [&]<class T>() -> double {
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<double>(static_cast<std::int64_t>(h % 200001) - 100000) / 16.0;
        } else {
            if (h % 17 == 0) return static_cast<double>(std::numeric_limits<T>::max());
            if (h % 19 == 0) return static_cast<double>(std::numeric_limits<T>::lowest());
            const double lo = static_cast<double>(std::numeric_limits<T>::lowest());
            const double span = static_cast<double>(std::numeric_limits<T>::max()) - lo + 1;
            return lo + std::fmod(static_cast<double>(h >> 11), span);
        }
    });
}

inline void storeValue(image::eImageBufferType::domain type, double v, unsigned char* dst) {
    image::visitElementType(type, [&]<class T>() {
        const T t = static_cast<T>(v);
        std::memcpy(dst, &t, sizeof t);
    });
}
inline double loadValue(image::eImageBufferType::domain type, const unsigned char* src) {
    return image::visitElementType(type, [&]<class T>() {
        T t;
        std::memcpy(&t, src, sizeof t);
        return static_cast<double>(t);
    });
}

/// Writes a file with libtiff's scanline or tile interface, page p stored as
/// `pages[p]` says (its `pages` field is ignored; the file's byte order and
/// BigTIFF choice are the first page's).
inline void writeSamplePages(const std::string& path, const std::vector<SampleFormat>& pages) {
    std::string mode = pages.at(0).bigEndian ? "wb" : "wl";
    if (pages[0].bigTiff) mode += "8";
    TIFF* tif = TIFFOpen(path.c_str(), mode.c_str());
    if (!tif) throw std::runtime_error("cannot create " + path);
    for (std::uint32_t p = 0; p < pages.size(); ++p) {
        const SampleFormat& s = pages[p];
        const auto [format, bits] = formatOf(s.type);
        const std::size_t elem = bits / 8;
        const bool separate = s.planar == PLANARCONFIG_SEPARATE;
        const std::uint16_t photometric =
            s.photometric ? s.photometric : s.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, s.width);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, s.height);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, s.samples);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, format);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, photometric);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, s.planar);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, s.compression);
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, 300.0f);
        TIFFSetField(tif, TIFFTAG_YRESOLUTION, 150.0f);
        TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        if (s.samples == 4 || s.samples == 2) {
            std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
            TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &extra);
        }
        if (p == 0 && !s.description.empty()) TIFFSetField(tif, TIFFTAG_IMAGEDESCRIPTION, s.description.c_str());
        const std::uint32_t perPixel = separate ? 1 : s.samples;
        const std::uint32_t planes = separate ? s.samples : 1;
        const auto fill = [&](std::uint32_t plane, std::uint32_t x0, std::uint32_t y0, std::uint32_t w,
                              std::uint32_t h, std::vector<unsigned char>& buf) {
            buf.assign(std::size_t{w} * h * perPixel * elem, 0);
            for (std::uint32_t y = 0; y < h; ++y)
                for (std::uint32_t x = 0; x < w; ++x)
                    for (std::uint32_t c = 0; c < perPixel; ++c) {
                        if (x0 + x >= s.width || y0 + y >= s.height) continue;
                        const std::uint32_t sample = separate ? plane : c;
                        storeValue(s.type, sampleValue(s, p, x0 + x, y0 + y, sample),
                                   buf.data() + ((std::size_t{y} * w + x) * perPixel + c) * elem);
                    }
        };
        std::vector<unsigned char> buf;
        if (s.tile) {
            TIFFSetField(tif, TIFFTAG_TILEWIDTH, s.tile);
            TIFFSetField(tif, TIFFTAG_TILELENGTH, s.tile);
            for (std::uint32_t plane = 0; plane < planes; ++plane)
                for (std::uint32_t y = 0; y < s.height; y += s.tile)
                    for (std::uint32_t x = 0; x < s.width; x += s.tile) {
                        fill(plane, x, y, s.tile, s.tile, buf);
                        if (TIFFWriteTile(tif, buf.data(), x, y, 0, static_cast<tsample_t>(plane)) < 0)
                            throw std::runtime_error("TIFFWriteTile failed");
                    }
        } else {
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, s.rowsPerStrip);
            for (std::uint32_t plane = 0; plane < planes; ++plane)
                for (std::uint32_t y = 0; y < s.height; ++y) {
                    fill(plane, 0, y, s.width, 1, buf);
                    if (TIFFWriteScanline(tif, buf.data(), y, static_cast<tsample_t>(plane)) < 0)
                        throw std::runtime_error("TIFFWriteScanline failed");
                }
        }
        if (!TIFFWriteDirectory(tif)) throw std::runtime_error("TIFFWriteDirectory failed");
    }
    TIFFClose(tif);
}

/// Writes `sampleFormat.pages` pages all stored as `sampleFormat` says.
inline void writeSample(const std::string& path, const SampleFormat& sampleFormat) {
    writeSamplePages(path, std::vector<SampleFormat>(sampleFormat.pages, sampleFormat));
}

/// A file read back with libtiff's scanline or tile interface: per page,
/// per sample, row-major values as double, plus the tags the tests look at.
struct ReadBack {
    std::uint32_t width = 0, height = 0;
    std::uint16_t samples = 0, bits = 0, format = 0, photometric = 0, planar = 0, compression = 0, resUnit = 0;
    float xres = 0, yres = 0;
    bool bigEndian = false, bigTiff = false;
    std::string description, software;
    std::vector<std::vector<std::vector<double>>> pages;  ///< [page][sample][y * width + x]
};

inline ReadBack readBack(const std::string& path) {
    ReadBack r;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) throw std::runtime_error("cannot read " + path);
    r.bigEndian = TIFFIsBigEndian(tif);
    r.bigTiff = TIFFIsBigTIFF(tif);
    do {
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &r.width);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &r.height);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &r.samples);
        TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &r.bits);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &r.format);
        TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &r.planar);
        TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &r.compression);
        TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &r.photometric);
        if (r.pages.empty()) {
            TIFFGetField(tif, TIFFTAG_XRESOLUTION, &r.xres);
            TIFFGetField(tif, TIFFTAG_YRESOLUTION, &r.yres);
            TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &r.resUnit);
            const char* text = nullptr;
            if (TIFFGetField(tif, TIFFTAG_IMAGEDESCRIPTION, &text) && text) r.description = text;
            if (TIFFGetField(tif, TIFFTAG_SOFTWARE, &text) && text) r.software = text;
        }
        const std::size_t elem = r.bits / 8;
        const image::eImageBufferType::domain type =
            r.format == SAMPLEFORMAT_IEEEFP ? image::eImageBufferType::eFloat
            : r.format == SAMPLEFORMAT_INT
                ? (elem == 1 ? image::eImageBufferType::eInt8
                             : elem == 2 ? image::eImageBufferType::eInt16 : image::eImageBufferType::eInt32)
                : (elem == 1 ? image::eImageBufferType::eUInt8
                             : elem == 2 ? image::eImageBufferType::eUInt16 : image::eImageBufferType::eUInt32);
        const bool separate = r.planar == PLANARCONFIG_SEPARATE;
        std::vector<std::vector<double>> page(r.samples, std::vector<double>(std::size_t{r.width} * r.height));
        const std::uint32_t perPixel = separate ? 1 : r.samples;
        // Copies a decoded block (w x h pixels at x0, y0) of one plane into the page.
        const auto take = [&](const unsigned char* block, std::uint32_t plane, std::uint32_t x0, std::uint32_t y0,
                              std::uint32_t w, std::uint32_t h) {
            for (std::uint32_t y = 0; y < h && y0 + y < r.height; ++y)
                for (std::uint32_t x = 0; x < w && x0 + x < r.width; ++x)
                    for (std::uint32_t c = 0; c < perPixel; ++c)
                        page[separate ? plane : c][std::size_t{y0 + y} * r.width + x0 + x] =
                            loadValue(type, block + ((std::size_t{y} * w + x) * perPixel + c) * elem);
        };
        if (TIFFIsTiled(tif)) {
            std::uint32_t tw = 0, th = 0;
            TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tw);
            TIFFGetField(tif, TIFFTAG_TILELENGTH, &th);
            std::vector<unsigned char> tile(static_cast<std::size_t>(TIFFTileSize(tif)));
            for (std::uint32_t plane = 0; plane < (separate ? r.samples : 1u); ++plane)
                for (std::uint32_t y = 0; y < r.height; y += th)
                    for (std::uint32_t x = 0; x < r.width; x += tw) {
                        if (TIFFReadTile(tif, tile.data(), x, y, 0, static_cast<tsample_t>(plane)) < 0)
                            throw std::runtime_error("TIFFReadTile failed in " + path);
                        take(tile.data(), plane, x, y, tw, th);
                    }
        } else {
            std::vector<unsigned char> line(static_cast<std::size_t>(TIFFScanlineSize(tif)));
            for (std::uint32_t plane = 0; plane < (separate ? r.samples : 1u); ++plane)
                for (std::uint32_t y = 0; y < r.height; ++y) {
                    if (TIFFReadScanline(tif, line.data(), y, static_cast<tsample_t>(plane)) < 0)
                        throw std::runtime_error("TIFFReadScanline failed in " + path);
                    take(line.data(), plane, 0, y, r.width, 1);
                }
        }
        r.pages.push_back(std::move(page));
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return r;
}

}  // namespace vimra::cli::test
