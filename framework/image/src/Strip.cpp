#include <vimra/image/Strip.h>

#include <boost/format.hpp>

#include <numeric>

namespace vimra::image {

namespace {

void checkRows(const BaseImage& image, std::uint64_t startY, std::uint64_t rows) {
    if (startY > image.getSizeY() || rows > image.getSizeY() - startY)
        throw ImageException((boost::format("Strip of rows %d..%d is outside an image of height %d") % startY %
                              (startY + rows) % image.getSizeY())
                                 .str());
}

}  // namespace

InputImageYStrip2d::InputImageYStrip2d(const BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                                       std::uint64_t z, std::uint64_t c, std::uint64_t t)
    : BaseImageYStrip2d(image.getBufferType(), image.getSizeX(), rows, startY),
      m_elementSize(image.getElementSize()) {
    checkRows(image, startY, rows);
    m_data = static_cast<const std::byte*>(image.planeData(z, c, t)) + startY * image.getSizeX() * m_elementSize;
}

const void* InputImageYStrip2d::getRow(std::uint64_t row) const {
    return static_cast<const std::byte*>(m_data) + row * getSizeX() * m_elementSize;
}

OutputImageYStrip2d::OutputImageYStrip2d(BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                                         std::uint64_t z, std::uint64_t c, std::uint64_t t)
    : BaseImageYStrip2d(image.getBufferType(), image.getSizeX(), rows, startY),
      m_elementSize(image.getElementSize()) {
    checkRows(image, startY, rows);
    m_data = static_cast<std::byte*>(image.planeData(z, c, t)) + startY * image.getSizeX() * m_elementSize;
}

void* OutputImageYStrip2d::getRow(std::uint64_t row) const {
    return static_cast<std::byte*>(m_data) + row * getSizeX() * m_elementSize;
}

std::uint64_t chooseStripHeight(std::uint64_t sizeX, std::uint64_t sizeY, std::uint64_t targetElements) {
    if (sizeX == 0 || sizeY == 0) return 1;
    // Smallest height whose element count is a multiple of the padding.
    const std::uint64_t unit = s_vectorPadding / std::gcd(sizeX, s_vectorPadding);
    std::uint64_t units = targetElements / (sizeX * unit);
    if (units == 0) units = 1;
    const std::uint64_t height = units * unit;
    return height >= sizeY ? sizeY : height;
}

}  // namespace vimra::image
