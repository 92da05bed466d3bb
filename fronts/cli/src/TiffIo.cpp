#include "TiffIo.h"

#include "Failure.h"

#include <tiffio.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>

namespace vimra::cli {

namespace {

using image::eImageBufferType;

// libtiff reports through these; each file keeps its last message so that the
// failure we raise can say what libtiff found.
int onTiffError(TIFF*, void* user, const char* module, const char* fmt, va_list ap) {
    auto* ctx = static_cast<TiffContext*>(user);
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    ctx->lastError = buf;
    (void)module;
    return 1;  // handled: nothing reaches the global handler (stderr)
}
int onTiffWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* o) const { TIFFOpenOptionsFree(o); }
};

/// Opens by path, or through `fd` (which libtiff then owns) when it is not -1.
TIFF* openTiff(const std::string& path, const char* mode, TiffContext& ctx, std::uint64_t maxAlloc, int fd = -1) {
    // Messages about files opened without our handlers (none should be) are dropped too.
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
    });
    std::unique_ptr<TIFFOpenOptions, OptionsDeleter> opts(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(opts.get(), &onTiffError, &ctx);
    TIFFOpenOptionsSetWarningHandlerExtR(opts.get(), &onTiffWarning, &ctx);
    if (maxAlloc) {
        const tmsize_t cap = static_cast<tmsize_t>(
            std::min<std::uint64_t>(maxAlloc, std::numeric_limits<tmsize_t>::max()));
        TIFFOpenOptionsSetMaxSingleMemAlloc(opts.get(), cap);
    }
    if (fd >= 0) return TIFFFdOpenExt(fd, path.c_str(), mode, opts.get());
    return TIFFOpenExt(path.c_str(), mode, opts.get());
}

template <class T>
T tagOr(TIFF* tif, ttag_t tag, T fallback) {
    T v{};
    return TIFFGetField(tif, tag, &v) == 1 ? v : fallback;
}
template <class T>
T tagOrDefault(TIFF* tif, ttag_t tag) {
    T v{};
    TIFFGetFieldDefaulted(tif, tag, &v);
    return v;
}

const char* photometricName(std::uint16_t p) {
    switch (p) {
        case PHOTOMETRIC_PALETTE: return "palette (colour-mapped)";
        case PHOTOMETRIC_YCBCR: return "YCbCr";
        case PHOTOMETRIC_MASK: return "transparency mask";
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB: return "L*a*b*";
        case PHOTOMETRIC_LOGL:
        case PHOTOMETRIC_LOGLUV: return "LogLuv";
        default: return "unknown";
    }
}

struct CompressionEntry {
    const char* name;
    std::uint16_t code;
};
// What the tool writes: lossless codecs that take every sample format.
constexpr CompressionEntry s_compressions[] = {
    {"none", COMPRESSION_NONE},          {"lzw", COMPRESSION_LZW},
    {"deflate", COMPRESSION_ADOBE_DEFLATE}, {"packbits", COMPRESSION_PACKBITS},
    {"zstd", COMPRESSION_ZSTD},          {"lzma", COMPRESSION_LZMA},
};

std::mutex& writersMutex() {
    static std::mutex m;
    return m;
}
std::set<std::string>& openTemporaries() {
    static std::set<std::string> s;
    return s;
}

}  // namespace

eImageBufferType::domain bufferTypeOf(std::uint16_t sampleFormat, std::uint16_t bits, const std::string& path,
                                      std::uint64_t page) {
    if (bits == 1) fileError("1-bit (bilevel) images are not supported; convert them to 8-bit first", path, page);
    if (bits != 8 && bits != 16 && bits != 32)
        fileError(std::to_string(bits) + "-bit samples are not supported (8, 16 and 32 are)", path, page);
    switch (sampleFormat) {
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_VOID:
            return bits == 8 ? eImageBufferType::eUInt8
                             : bits == 16 ? eImageBufferType::eUInt16 : eImageBufferType::eUInt32;
        case SAMPLEFORMAT_INT:
            return bits == 8 ? eImageBufferType::eInt8
                             : bits == 16 ? eImageBufferType::eInt16 : eImageBufferType::eInt32;
        case SAMPLEFORMAT_IEEEFP:
            if (bits == 32) return eImageBufferType::eFloat;
            fileError(std::to_string(bits) + "-bit floating-point samples are not supported (32-bit are)", path,
                      page);
        default:
            fileError("complex or unknown sample format " + std::to_string(sampleFormat) + " is not supported",
                      path, page);
    }
}

std::pair<std::uint16_t, std::uint16_t> sampleFormatOf(eImageBufferType::domain type) {
    const auto bits = static_cast<std::uint16_t>(8 * image::getImageBufferBaseSize(type));
    switch (image::elementBufferType(type)) {
        case eImageBufferType::eInt8:
        case eImageBufferType::eInt16:
        case eImageBufferType::eInt32: return {SAMPLEFORMAT_INT, bits};
        case eImageBufferType::eFloat: return {SAMPLEFORMAT_IEEEFP, bits};
        default: return {SAMPLEFORMAT_UINT, bits};
    }
}

std::uint16_t compressionByName(const std::string& name) {
    for (const auto& c : s_compressions)
        if (name == c.name) {
            if (!TIFFIsCODECConfigured(c.code)) usageError("this libtiff cannot write " + name + " compression");
            return c.code;
        }
    std::string known;
    for (const auto& c : s_compressions) known += std::string(known.empty() ? "" : ", ") + c.name;
    usageError("unknown compression '" + name + "' (known: " + known + ")");
}

std::string compressionName(std::uint16_t code) {
    for (const auto& c : s_compressions)
        if (c.code == code) return c.name;
    if (const TIFFCodec* codec = TIFFFindCODEC(code)) return codec->name;
    return "compression " + std::to_string(code);
}

bool canWriteCompression(std::uint16_t code) {
    for (const auto& c : s_compressions)
        if (c.code == code) return TIFFIsCODECConfigured(code);
    return false;
}

// ---- reading --------------------------------------------------------------------------------

TiffReader::TiffReader(const std::string& path, std::uint64_t maxAlloc)
    : m_ctx(std::make_unique<TiffContext>()), m_maxAlloc(maxAlloc) {
    m_ctx->path = path;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) fileError("no such file", path);
    if (std::filesystem::is_directory(path, ec)) fileError("is a directory, not a TIFF file", path);
    m_tif = openTiff(path, "rm", *m_ctx, maxAlloc);  // "m": read, not memory-mapped (a truncated
                                                     // file must fail, not fault)
    if (!m_tif)
        fileError("not a readable TIFF file" + (m_ctx->lastError.empty() ? "" : ": " + m_ctx->lastError), path);

    // One pass over the directories; libtiff refuses loops in the chain.
    for (std::uint32_t d = 0;; ++d) {
        if (d > 0) {
            m_ctx->lastError.clear();
            if (!TIFFReadDirectory(m_tif)) {
                if (!m_ctx->lastError.empty()) fail("unreadable directory", m_pageDirs.size());
                break;
            }
        }
        if (d >= 65536) fail("more than 65536 directories", m_pageDirs.size());
        // Reduced-resolution copies (thumbnails, pyramids) are not pages of the image.
        if (tagOr<std::uint32_t>(m_tif, TIFFTAG_SUBFILETYPE, 0) & FILETYPE_REDUCEDIMAGE) continue;
        const std::uint64_t page = m_pageDirs.size();
        PageFormat f;
        if (TIFFGetField(m_tif, TIFFTAG_IMAGEWIDTH, &f.width) != 1 ||
            TIFFGetField(m_tif, TIFFTAG_IMAGELENGTH, &f.height) != 1)
            fail("image size missing", page);
        if (f.width == 0 || f.height == 0) fail("image of zero size", page);
        f.samples = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_SAMPLESPERPIXEL);
        const auto bits = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_BITSPERSAMPLE);
        const auto format = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_SAMPLEFORMAT);
        f.type = bufferTypeOf(format, bits, path, page);
        if (f.samples == 0 || f.samples > 64)
            fail(std::to_string(f.samples) + " samples per pixel are not supported (1 to 64 are)", page);
        if (TIFFGetField(m_tif, TIFFTAG_PHOTOMETRIC, &f.photometric) != 1)
            f.photometric = f.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        if (f.photometric != PHOTOMETRIC_MINISBLACK && f.photometric != PHOTOMETRIC_MINISWHITE &&
            f.photometric != PHOTOMETRIC_RGB && f.photometric != PHOTOMETRIC_SEPARATED)
            fail(std::string(photometricName(f.photometric)) + " images are not supported", page);
        f.planar = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_PLANARCONFIG);
        f.compression = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_COMPRESSION);
        if (!TIFFIsCODECConfigured(f.compression))
            fail(compressionName(f.compression) + " compression cannot be decoded by this libtiff", page);
        std::uint16_t nExtra = 0;
        std::uint16_t* extra = nullptr;
        if (TIFFGetField(m_tif, TIFFTAG_EXTRASAMPLES, &nExtra, &extra) == 1 && extra)
            f.extraSamples.assign(extra, extra + nExtra);
        f.tiled = TIFFIsTiled(m_tif);
        if (f.tiled) {
            f.tileWidth = tagOrDefault<std::uint32_t>(m_tif, TIFFTAG_TILEWIDTH);
            f.tileHeight = tagOrDefault<std::uint32_t>(m_tif, TIFFTAG_TILELENGTH);
            if (f.tileWidth == 0 || f.tileHeight == 0) fail("tile of zero size", page);
        } else {
            f.rowsPerStrip = std::min(tagOrDefault<std::uint32_t>(m_tif, TIFFTAG_ROWSPERSTRIP), f.height);
            if (f.rowsPerStrip == 0) fail("zero rows per strip", page);
        }
        if (page == 0) {
            m_format = f;
            float rx = 0, ry = 0;
            if (TIFFGetField(m_tif, TIFFTAG_XRESOLUTION, &rx) == 1 &&
                TIFFGetField(m_tif, TIFFTAG_YRESOLUTION, &ry) == 1) {
                m_meta.hasResolution = true;
                m_meta.xResolution = rx;
                m_meta.yResolution = ry;
                m_meta.resolutionUnit = tagOrDefault<std::uint16_t>(m_tif, TIFFTAG_RESOLUTIONUNIT);
            }
            const char* desc = nullptr;
            if (TIFFGetField(m_tif, TIFFTAG_IMAGEDESCRIPTION, &desc) == 1 && desc) m_meta.description = desc;
            m_meta.bigEndian = TIFFIsBigEndian(m_tif);
            m_meta.bigTiff = TIFFIsBigTIFF(m_tif);
        } else if (f.width != m_format.width || f.height != m_format.height || f.samples != m_format.samples ||
                   f.type != m_format.type) {
            fail("page differs from the first page in size, samples or sample format", page);
        }
        m_pageDirs.push_back(d);
        m_pageFormats.push_back(f);
    }
    if (m_pageDirs.empty()) fileError("no full-resolution image in the file", path);
}

TiffReader::~TiffReader() {
    if (m_tif) TIFFClose(m_tif);
}

std::uint64_t TiffReader::pageBytes() const {
    return std::uint64_t{m_format.width} * m_format.height * m_format.samples *
           image::getImageBufferBaseSize(m_format.type);
}

void TiffReader::fail(const std::string& what, std::uint64_t page) const {
    std::string msg = what;
    if (!m_ctx->lastError.empty()) msg += ": " + m_ctx->lastError;
    fileError(msg, m_ctx->path, page);
}

void TiffReader::select(std::uint64_t page) {
    if (static_cast<std::int64_t>(page) == m_page) return;
    m_page = -1;
    m_blockRow = -1;
    if (!TIFFSetDirectory(m_tif, m_pageDirs.at(page))) fail("unreadable directory", page);
    m_page = static_cast<std::int64_t>(page);
}

// Decodes one strip (or one row of tiles) of every plane into m_block.
void TiffReader::loadBlockRow(std::uint32_t blockRow) {
    const std::uint64_t page = static_cast<std::uint64_t>(m_page);
    const PageFormat& f = m_pageFormats[page];
    const bool separate = f.planar == PLANARCONFIG_SEPARATE && f.samples > 1;
    const std::uint32_t blockHeight = f.tiled ? f.tileHeight : f.rowsPerStrip;
    const std::uint32_t y0 = blockRow * blockHeight;
    const std::uint32_t rows = std::min(blockHeight, f.height - y0);
    const std::uint64_t elem = image::getImageBufferBaseSize(f.type);
    const std::uint64_t perPixel = separate ? 1 : f.samples;
    const std::uint64_t rowBytes = std::uint64_t{f.width} * perPixel * elem;
    if (rowBytes * rows > m_maxAlloc) fail("a strip or tile row larger than the memory limit", page);
    m_blockRow = -1;
    m_block.resize(separate ? f.samples : 1);
    for (std::size_t p = 0; p < m_block.size(); ++p) {
        auto& block = m_block[p];
        block.resize(rowBytes * rows);
        if (!f.tiled) {
            const tstrip_t strip = TIFFComputeStrip(m_tif, y0, static_cast<tsample_t>(p));
            // A strip may hold fewer rows than RowsPerStrip only at the bottom.
            const tmsize_t got = TIFFReadEncodedStrip(m_tif, strip, block.data(), static_cast<tmsize_t>(block.size()));
            if (got < 0 || static_cast<std::uint64_t>(got) < block.size())
                fail("corrupt or truncated image data (strip " + std::to_string(strip) + ")", page);
        } else {
            const tmsize_t tileBytes = TIFFTileSize(m_tif);
            if (tileBytes <= 0) fail("invalid tile size", page);
            m_tile.resize(static_cast<std::size_t>(tileBytes));
            const std::uint64_t tileRowBytes = std::uint64_t{f.tileWidth} * perPixel * elem;
            for (std::uint32_t x = 0; x < f.width; x += f.tileWidth) {
                const ttile_t tile = TIFFComputeTile(m_tif, x, y0, 0, static_cast<tsample_t>(p));
                if (TIFFReadEncodedTile(m_tif, tile, m_tile.data(), tileBytes) < 0)
                    fail("corrupt or truncated image data (tile " + std::to_string(tile) + ")", page);
                const std::uint64_t copy = std::min<std::uint64_t>(f.tileWidth, f.width - x) * perPixel * elem;
                for (std::uint32_t r = 0; r < rows; ++r)
                    std::memcpy(block.data() + r * rowBytes + std::uint64_t{x} * perPixel * elem,
                                m_tile.data() + r * tileRowBytes, copy);
            }
        }
    }
    m_blockRow = blockRow;
    m_blockY0 = y0;
    m_blockRows = rows;
}

void TiffReader::readRows(std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                          const std::vector<void*>& planes) {
    if (planes.size() != m_format.samples) throw std::logic_error("readRows: one plane per sample");
    select(page);
    const PageFormat& f = m_pageFormats[page];
    const bool separate = f.planar == PLANARCONFIG_SEPARATE && f.samples > 1;
    const std::uint32_t blockHeight = f.tiled ? f.tileHeight : f.rowsPerStrip;
    const std::size_t elem = image::getImageBufferBaseSize(f.type);
    const std::size_t rowElems = f.width;
    for (std::uint32_t y = y0; y < y0 + rows; ++y) {
        const std::uint32_t blockRow = y / blockHeight;
        if (blockRow != m_blockRow) loadBlockRow(blockRow);
        const std::size_t r = y - m_blockY0;
        const std::size_t outOffset = std::size_t{y - y0} * rowElems * elem;
        if (separate || f.samples == 1) {
            for (std::size_t s = 0; s < f.samples; ++s)
                std::memcpy(static_cast<unsigned char*>(planes[s]) + outOffset,
                            m_block[separate ? s : 0].data() + r * rowElems * elem, rowElems * elem);
        } else {
            // Interleaved samples: scatter each sample to its channel plane.
            const unsigned char* src = m_block[0].data() + r * rowElems * f.samples * elem;
            for (std::size_t s = 0; s < f.samples; ++s) {
                unsigned char* dst = static_cast<unsigned char*>(planes[s]) + outOffset;
                for (std::size_t x = 0; x < rowElems; ++x)
                    std::memcpy(dst + x * elem, src + (x * f.samples + s) * elem, elem);
            }
        }
    }
}

// ---- writing --------------------------------------------------------------------------------

void abandonAllWriters() {
    std::lock_guard lock(writersMutex());
    for (const auto& p : openTemporaries()) ::unlink(p.c_str());
    openTemporaries().clear();
}

TiffWriter::TiffWriter(const std::string& path, const WriteFormat& format, bool force,
                       const std::vector<std::string>& inputs)
    : m_path(path), m_format(format), m_ctx(std::make_unique<TiffContext>()) {
    namespace fs = std::filesystem;
    checkDestination(path, force, inputs);
    const fs::path dest(path);
    const fs::path dir = dest.has_parent_path() ? dest.parent_path() : fs::path(".");
    // Hidden, beside the destination (same file system, so the final rename is atomic).
    std::string hidden = ".";
    hidden += dest.filename().string();
    hidden += ".XXXXXX";
    std::string tmpl = (dir / hidden).string();
    int fd = -1;
    {
        // Created and registered under one lock: an interrupt never sees the file unregistered.
        std::lock_guard lock(writersMutex());
        fd = ::mkstemp(tmpl.data());
        if (fd < 0)
            fileError(std::string("cannot create a file in the output's folder: ") + std::strerror(errno), path);
        // mkstemp makes the file private; the output gets the usual permissions.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        (void)::fchmod(fd, 0666 & ~mask);
        m_tmpPath = tmpl;
        openTemporaries().insert(m_tmpPath);
    }
    m_ctx->path = path;

    const std::uint64_t elem = image::getImageBufferBaseSize(format.type);
    const std::uint64_t rowBytes = std::uint64_t{format.width} * format.samples * elem;
    const std::uint64_t total = rowBytes * format.height * format.pages;
    // Classic TIFF offsets are 32-bit: leave room for the directories and tags.
    const bool big = format.forceBigTiff || total > std::uint64_t{4187593113};  // 3.9 GiB
    std::string mode = "w";
    mode += format.meta.bigEndian ? "b" : "l";
    if (big) mode += "8";
    // Written through the descriptor: once an interrupt removed the name, nothing can bring it back.
    m_tif = openTiff(m_tmpPath, mode.c_str(), *m_ctx, 0, fd);
    if (!m_tif) {
        ::close(fd);
        abandon();
        fail("cannot open the output for writing");
    }
    m_rowsPerStrip =
        stripRows(format.width, format.height, format.planar == PLANARCONFIG_SEPARATE ? 1 : format.samples);
}

std::uint32_t TiffWriter::stripRows(std::uint32_t width, std::uint32_t height, std::uint32_t samplesPerStrip) {
    // Strips of about 256 KiB of 4-byte samples: small enough to stream, large
    // enough for the codecs. Independent of the sample size, so that bands can be
    // cut before the output's type is known.
    const std::uint64_t rowBytes = std::uint64_t{width} * samplesPerStrip * 4;
    return static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>((256 * 1024) / std::max<std::uint64_t>(rowBytes, 1), 1, height));
}

void TiffWriter::checkDestination(const std::string& path, bool force, const std::vector<std::string>& inputs) {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path dest(path);
    for (const auto& in : inputs)
        if (fs::equivalent(dest, fs::path(in), ec))
            usageError("output " + path + " is also an input; write to another file");
    if (fs::exists(dest, ec)) {
        if (fs::is_directory(dest, ec)) fileError("output is a directory", path);
        if (!force) fileError("output exists; use --force to replace it", path);
    }
    const fs::path dir = dest.has_parent_path() ? dest.parent_path() : fs::path(".");
    if (!fs::is_directory(dir, ec)) fileError("the output's folder does not exist", path);
}

TiffWriter::~TiffWriter() {
    if (!m_committed) abandon();
}

void TiffWriter::abandon() {
    if (m_tif) {
        TIFFClose(m_tif);
        m_tif = nullptr;
    }
    if (!m_tmpPath.empty()) {
        std::lock_guard lock(writersMutex());
        ::unlink(m_tmpPath.c_str());
        openTemporaries().erase(m_tmpPath);
    }
}

void TiffWriter::fail(const std::string& what) const {
    std::string msg = what;
    if (!m_ctx->lastError.empty()) msg += ": " + m_ctx->lastError;
    else if (errno) msg += std::string(": ") + std::strerror(errno);
    if (m_page >= 0) fileError(msg, m_path, static_cast<std::uint64_t>(m_page));
    fileError(msg, m_path);
}

void TiffWriter::startPage(std::uint64_t page) {
    const WriteFormat& f = m_format;
    const auto [sampleFormat, bits] = sampleFormatOf(f.type);
    m_page = static_cast<std::int64_t>(page);
    m_nextRow = 0;
    bool ok = TIFFSetField(m_tif, TIFFTAG_IMAGEWIDTH, f.width) && TIFFSetField(m_tif, TIFFTAG_IMAGELENGTH, f.height) &&
              TIFFSetField(m_tif, TIFFTAG_SAMPLESPERPIXEL, f.samples) &&
              TIFFSetField(m_tif, TIFFTAG_BITSPERSAMPLE, bits) &&
              TIFFSetField(m_tif, TIFFTAG_SAMPLEFORMAT, sampleFormat) &&
              TIFFSetField(m_tif, TIFFTAG_PHOTOMETRIC, f.photometric) &&
              TIFFSetField(m_tif, TIFFTAG_PLANARCONFIG, f.planar) &&
              TIFFSetField(m_tif, TIFFTAG_COMPRESSION, f.compression) &&
              TIFFSetField(m_tif, TIFFTAG_ROWSPERSTRIP, m_rowsPerStrip) &&
              TIFFSetField(m_tif, TIFFTAG_SOFTWARE, "vimra-arith " VIMRA_ARITH_VERSION);
    if (ok && !f.extraSamples.empty())
        ok = TIFFSetField(m_tif, TIFFTAG_EXTRASAMPLES, static_cast<std::uint16_t>(f.extraSamples.size()),
                          f.extraSamples.data());
    if (ok && f.meta.hasResolution)
        ok = TIFFSetField(m_tif, TIFFTAG_XRESOLUTION, f.meta.xResolution) &&
             TIFFSetField(m_tif, TIFFTAG_YRESOLUTION, f.meta.yResolution) &&
             TIFFSetField(m_tif, TIFFTAG_RESOLUTIONUNIT, f.meta.resolutionUnit);
    // Stack descriptions (ImageJ's) belong to the first page only.
    if (ok && page == 0 && !f.meta.description.empty())
        ok = TIFFSetField(m_tif, TIFFTAG_IMAGEDESCRIPTION, f.meta.description.c_str());
    if (ok && f.pages > 1)
        ok = TIFFSetField(m_tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE) &&
             TIFFSetField(m_tif, TIFFTAG_PAGENUMBER, static_cast<std::uint16_t>(std::min<std::uint64_t>(page, 65535)),
                          static_cast<std::uint16_t>(std::min<std::uint64_t>(f.pages, 65535)));
    if (!ok) fail("cannot set the output's tags");
}

void TiffWriter::finishPage() {
    if (!TIFFWriteDirectory(m_tif)) fail("cannot write the page (disk full?)");
    m_page = -1;
}

void TiffWriter::writeRows(std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                           const std::vector<const void*>& planes) {
    const WriteFormat& f = m_format;
    if (planes.size() != f.samples) throw std::logic_error("writeRows: one plane per sample");
    if (m_page < 0) {
        if (page != static_cast<std::uint64_t>(++m_lastPage)) throw std::logic_error("writeRows: pages in order");
        startPage(page);
    }
    if (static_cast<std::int64_t>(page) != m_page || y0 != m_nextRow ||
        (y0 + rows != f.height && rows % m_rowsPerStrip != 0))
        throw std::logic_error("writeRows: rows in order, in whole strips");
    const bool separate = f.planar == PLANARCONFIG_SEPARATE && f.samples > 1;
    const std::size_t elem = image::getImageBufferBaseSize(f.type);
    const std::size_t width = f.width;
    const tstrip_t stripsPerPlane = TIFFNumberOfStrips(m_tif) / (separate ? f.samples : 1);
    for (std::uint32_t s0 = 0; s0 < rows; s0 += m_rowsPerStrip) {
        const std::uint32_t n = std::min(m_rowsPerStrip, rows - s0);
        const tstrip_t strip = (y0 + s0) / m_rowsPerStrip;
        const auto write = [&](tstrip_t index, const void* data, std::size_t bytes) {
            if (TIFFWriteEncodedStrip(m_tif, index, const_cast<void*>(data), static_cast<tmsize_t>(bytes)) < 0)
                fail("cannot write image data (disk full?)");
        };
        if (f.samples == 1 || separate) {
            for (std::size_t s = 0; s < f.samples; ++s)
                write(static_cast<tstrip_t>(s * stripsPerPlane + strip),
                      static_cast<const unsigned char*>(planes[s]) + std::size_t{s0} * width * elem,
                      std::size_t{n} * width * elem);
        } else {
            m_strip.resize(std::size_t{n} * width * f.samples * elem);
            for (std::size_t s = 0; s < f.samples; ++s) {
                const unsigned char* src = static_cast<const unsigned char*>(planes[s]) + std::size_t{s0} * width * elem;
                for (std::size_t i = 0; i < std::size_t{n} * width; ++i)
                    std::memcpy(m_strip.data() + (i * f.samples + s) * elem, src + i * elem, elem);
            }
            write(strip, m_strip.data(), m_strip.size());
        }
    }
    m_nextRow = y0 + rows;
    if (m_nextRow == f.height) finishPage();
}

void TiffWriter::commit() {
    if (m_lastPage + 1 != static_cast<std::int64_t>(m_format.pages) || m_page >= 0)
        throw std::logic_error("commit before every page was written");
    TIFF* tif = m_tif;
    m_tif = nullptr;
    const bool flushed = TIFFFlush(tif) == 1;
    TIFFClose(tif);
    if (!flushed || !m_ctx->lastError.empty()) {
        abandon();
        fail("cannot finish the output");
    }
    std::lock_guard lock(writersMutex());
    if (!openTemporaries().count(m_tmpPath)) fileError("interrupted", m_path);
    if (std::rename(m_tmpPath.c_str(), m_path.c_str()) != 0) {
        const int err = errno;
        ::unlink(m_tmpPath.c_str());
        openTemporaries().erase(m_tmpPath);
        fileError(std::string("cannot move the output into place: ") + std::strerror(err), m_path);
    }
    openTemporaries().erase(m_tmpPath);
    m_committed = true;
}

}  // namespace vimra::cli
