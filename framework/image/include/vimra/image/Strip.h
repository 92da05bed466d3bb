#pragma once

#include <vimra/image/BaseImage.h>

#include <cstdint>

namespace vimra::image {

/// A band of consecutive whole rows of one 2d plane. Strips are views: their data
/// pointer points into the image's storage (rows are contiguous, so the band is
/// one run of getElementCount() elements).
class BaseImageYStrip2d {
public:
    BaseImageYStrip2d() = default;
    BaseImageYStrip2d(eImageBufferType::domain type, std::uint64_t sizeX, std::uint64_t rows, std::uint64_t startY)
        : m_type(type), m_sizeX(sizeX), m_rows(rows), m_startY(startY) {}

    eImageBufferType::domain getImageBufferType() const { return m_type; }
    std::uint64_t getSizeX() const { return m_sizeX; }
    /// Number of rows in the strip.
    std::uint64_t getSizeY() const { return m_rows; }
    /// Index of the strip's first row in its plane.
    std::uint64_t getStripStartOffsetY() const { return m_startY; }
    std::uint64_t getElementCount() const { return m_sizeX * m_rows; }

private:
    eImageBufferType::domain m_type = eImageBufferType::eUInt8;
    std::uint64_t m_sizeX = 0;
    std::uint64_t m_rows = 0;
    std::uint64_t m_startY = 0;
};

/// Read-only strip of rows [startY, startY + rows) of plane (z, c, t) of an image.
class InputImageYStrip2d : public BaseImageYStrip2d {
public:
    InputImageYStrip2d() = default;
    InputImageYStrip2d(const BaseImage& image, std::uint64_t startY, std::uint64_t rows, std::uint64_t z = 0,
                       std::uint64_t c = 0, std::uint64_t t = 0);
    const void* getData() const { return m_data; }
    /// Pointer to row `row` (0-based within the strip).
    const void* getRow(std::uint64_t row) const;

private:
    const void* m_data = nullptr;
    std::size_t m_elementSize = 0;
};

/// Writable strip of rows of one plane of an image.
class OutputImageYStrip2d : public BaseImageYStrip2d {
public:
    OutputImageYStrip2d() = default;
    OutputImageYStrip2d(BaseImage& image, std::uint64_t startY, std::uint64_t rows, std::uint64_t z = 0,
                        std::uint64_t c = 0, std::uint64_t t = 0);
    void* getData() const { return m_data; }
    void* getRow(std::uint64_t row) const;

private:
    void* m_data = nullptr;
    std::size_t m_elementSize = 0;
};

/// Picks strip heights for a plane of `sizeX` x `sizeY` elements so that every
/// strip but the last holds a multiple of 64 elements (a vector kernel's overrun
/// then never reaches the next strip) and holds about `targetElements` elements.
/// Returns the height of the strips (the last may be shorter).
std::uint64_t chooseStripHeight(std::uint64_t sizeX, std::uint64_t sizeY, std::uint64_t targetElements);

}  // namespace vimra::image
