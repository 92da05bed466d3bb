#pragma once

// TIFF files as the tool sees them: a sequence of pages of one format, read and
// written by bands of rows so that a large file never has to fit in memory.
// Samples of a pixel (RGB, RGBA, ...) are channels: interleaved in the file,
// one plane per channel in the image.

#include <vimra/image/BaseImage.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

typedef struct tiff TIFF;

namespace vimra::cli {

/// The format shared by every page of a file.
struct PageFormat {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t samples = 1;
    image::eImageBufferType::domain type = image::eImageBufferType::eUInt8;
    std::uint16_t photometric = 1;  ///< PHOTOMETRIC_MINISBLACK
    std::uint16_t planar = 1;       ///< PLANARCONFIG_CONTIG
    std::uint16_t compression = 1;  ///< COMPRESSION_NONE
    std::vector<std::uint16_t> extraSamples;
    bool tiled = false;
    std::uint32_t tileWidth = 0, tileHeight = 0, rowsPerStrip = 0;
};

/// Tags carried from an input to the output.
struct Metadata {
    bool hasResolution = false;
    float xResolution = 0, yResolution = 0;
    std::uint16_t resolutionUnit = 2;  ///< RESUNIT_INCH, the TIFF default
    std::string description;
    bool bigEndian = false;
    bool bigTiff = false;
};

/// libtiff's options for every file the tool opens: messages collected per file,
/// allocations bounded by `maxAlloc` bytes.
struct TiffContext {
    std::string path;
    std::string lastError;
};

/// Buffer type of (SampleFormat, BitsPerSample), or a file error naming why not.
image::eImageBufferType::domain bufferTypeOf(std::uint16_t sampleFormat, std::uint16_t bits,
                                             const std::string& path, std::uint64_t page);
/// (SampleFormat, BitsPerSample) of a buffer type.
std::pair<std::uint16_t, std::uint16_t> sampleFormatOf(image::eImageBufferType::domain type);

/// Names of the compressions the tool can write, and their libtiff codes.
std::uint16_t compressionByName(const std::string& name);
std::string compressionName(std::uint16_t code);
/// Lossless compressions that this libtiff encodes (what the output may keep).
bool canWriteCompression(std::uint16_t code);

class TiffReader {
  public:
    /// Opens and checks every page (same size and sample format on all of them,
    /// sample formats the tool handles). `maxAlloc` bounds what a strip or tile,
    /// and libtiff itself, may allocate.
    TiffReader(const std::string& path, std::uint64_t maxAlloc);
    ~TiffReader();
    TiffReader(const TiffReader&) = delete;
    TiffReader& operator=(const TiffReader&) = delete;

    const std::string& path() const { return m_ctx->path; }
    std::uint64_t pageCount() const { return m_pageDirs.size(); }
    const PageFormat& format() const { return m_format; }
    const Metadata& metadata() const { return m_meta; }
    /// Bytes of one page's samples.
    std::uint64_t pageBytes() const;

    /// Reads rows [y0, y0 + rows) of a page into one plane per sample: `planes[s]`
    /// receives rows * width elements of sample s, row after row.
    void readRows(std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                  const std::vector<void*>& planes);

  private:
    void select(std::uint64_t page);
    void loadBlockRow(std::uint32_t blockRow);
    [[noreturn]] void fail(const std::string& what, std::uint64_t page) const;

    std::unique_ptr<TiffContext> m_ctx;
    TIFF* m_tif = nullptr;
    PageFormat m_format;
    Metadata m_meta;
    std::vector<std::uint32_t> m_pageDirs;  ///< directory index of each full-size page
    std::vector<PageFormat> m_pageFormats;  ///< storage may differ from page to page
    std::uint64_t m_maxAlloc;
    // The decoded block row (a strip, or a row of tiles) of every plane of the
    // current page: rows [m_blockY0, m_blockY0 + m_blockRows).
    std::int64_t m_page = -1;
    std::int64_t m_blockRow = -1;
    std::uint32_t m_blockY0 = 0, m_blockRows = 0;
    std::vector<std::vector<unsigned char>> m_block;  ///< per plane (1 when contiguous)
    std::vector<unsigned char> m_tile;
};

/// What the written file looks like.
struct WriteFormat {
    std::uint32_t width = 0, height = 0;
    std::uint16_t samples = 1;
    image::eImageBufferType::domain type = image::eImageBufferType::eUInt8;
    std::uint16_t photometric = 1;
    std::uint16_t planar = 1;
    std::uint16_t compression = 1;
    std::vector<std::uint16_t> extraSamples;
    std::uint64_t pages = 1;
    Metadata meta;
    /// BigTIFF whatever the size; otherwise chosen when the pages pass about 3.9 GiB.
    bool forceBigTiff = false;
};

/// Writes to a temporary file beside the destination; commit() renames it into
/// place, and the destructor removes it when commit() was not reached.
class TiffWriter {
  public:
    /// Refuses a destination that exists (unless `force`) or that is one of `inputs`.
    TiffWriter(const std::string& path, const WriteFormat& format, bool force,
               const std::vector<std::string>& inputs);
    ~TiffWriter();
    /// The destination checks of the constructor, for callers that check before working.
    static void checkDestination(const std::string& path, bool force, const std::vector<std::string>& inputs);
    TiffWriter(const TiffWriter&) = delete;
    TiffWriter& operator=(const TiffWriter&) = delete;

    const std::string& path() const { return m_path; }
    const std::string& temporaryPath() const { return m_tmpPath; }
    /// Rows written in one call (a whole number of strips, except at the page's end).
    std::uint32_t rowsPerStrip() const { return m_rowsPerStrip; }
    /// The rows per strip of a file of this width and height.
    static std::uint32_t stripRows(std::uint32_t width, std::uint32_t height, std::uint32_t samplesPerStrip);

    /// Writes rows [y0, y0 + rows) of `page` from one plane per sample. Pages are
    /// written in order, each from top to bottom in whole strips.
    void writeRows(std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                   const std::vector<const void*>& planes);
    void commit();
    /// Removes the temporary file (also safe from the interrupt path).
    void abandon();

  private:
    void startPage(std::uint64_t page);
    void finishPage();
    [[noreturn]] void fail(const std::string& what) const;

    std::string m_path, m_tmpPath;
    WriteFormat m_format;
    std::unique_ptr<TiffContext> m_ctx;
    TIFF* m_tif = nullptr;
    std::int64_t m_page = -1;
    std::int64_t m_lastPage = -1;
    std::uint32_t m_nextRow = 0;
    std::uint32_t m_rowsPerStrip = 0;
    std::vector<unsigned char> m_strip;
    bool m_committed = false;
};

/// Every temporary output file still open, for the interrupt handler.
void abandonAllWriters();

}  // namespace vimra::cli
