#include <vimra/image/Strip.h>

#include <boost/format.hpp>

#include <algorithm>
#include <limits>
#include <numeric>
#include <type_traits>

namespace vimra::image {

namespace {

[[noreturn]] void fail(const std::string& message) {
    throw ImageException(message, "vimra::image");
}

void checkRows(const BaseImage& image, std::uint64_t startY, std::uint64_t rows) {
    if (startY > image.getSizeY() || rows > image.getSizeY() - startY)
        fail((boost::format("Strip of rows %d..%d is outside an image of height %d") % startY %
              (startY + rows) % image.getSizeY())
                 .str());
}

void checkPlanes(const BaseImage& image, std::uint64_t startZ, std::uint64_t planes) {
    if (startZ > image.getSizeZ() || planes > image.getSizeZ() - startZ)
        fail((boost::format("Strip of planes %d..%d is outside an image of %d planes") % startZ %
              (startZ + planes) % image.getSizeZ())
                 .str());
}

// First element of plane `z` of volume (c, t); z may be sizeZ (the end of the volume).
template <class Image>
auto volumePlane(Image& image, std::uint64_t z, std::uint64_t c, std::uint64_t t) {
    using Byte = std::conditional_t<std::is_const_v<Image>, const std::byte, std::byte>;
    return static_cast<Byte*>(image.planeData(0, c, t)) +
           z * image.getPlaneStride() * image.getElementSize();
}

std::uint64_t ceilDiv(std::uint64_t a, std::uint64_t b) {
    return a / b + (a % b != 0);
}

// Splits `total` units into pieces of at most `most` units, evenly: returns the
// piece size (the last piece may be smaller).
std::uint64_t evenPiece(std::uint64_t total, std::uint64_t most) {
    if (most >= total) return total;
    return ceilDiv(total, ceilDiv(total, most));
}

}  // namespace

// ---- y strips ---------------------------------------------------------------------------------

InputImageYStrip2d::InputImageYStrip2d(const BaseImage& image, std::uint64_t startY,
                                       std::uint64_t rows, std::uint64_t z, std::uint64_t c,
                                       std::uint64_t t)
    : BaseImageYStrip2d(image.getBufferType(), image.getSizeX(), rows, startY, image.getSizeY(),
                        image.hasVectorPadding()),
      m_elementSize(image.getElementSize()) {
    checkRows(image, startY, rows);
    m_data = static_cast<const std::byte*>(image.planeData(z, c, t)) +
             startY * image.getSizeX() * m_elementSize;
}

const void* InputImageYStrip2d::getRow(std::uint64_t row) const {
    return static_cast<const std::byte*>(m_data) + row * getSizeX() * m_elementSize;
}

OutputImageYStrip2d::OutputImageYStrip2d(BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                                         std::uint64_t z, std::uint64_t c, std::uint64_t t)
    : BaseImageYStrip2d(image.getBufferType(), image.getSizeX(), rows, startY, image.getSizeY(),
                        image.hasVectorPadding()),
      m_elementSize(image.getElementSize()) {
    checkRows(image, startY, rows);
    m_data = static_cast<std::byte*>(image.planeData(z, c, t)) +
             startY * image.getSizeX() * m_elementSize;
}

void* OutputImageYStrip2d::getRow(std::uint64_t row) const {
    return static_cast<std::byte*>(m_data) + row * getSizeX() * m_elementSize;
}

std::uint64_t chooseStripHeight(std::uint64_t sizeX, std::uint64_t sizeY,
                                std::uint64_t targetElements) {
    if (sizeX == 0 || sizeY == 0) return 1;
    // A strip holds a multiple of 64 elements exactly when its height is a
    // multiple of `unit` rows; strips are cut in whole units.
    const std::uint64_t unit = s_vectorPadding / std::gcd(sizeX, s_vectorPadding);
    std::uint64_t unitElements = 0;
    std::uint64_t units = 1;
    if (!__builtin_mul_overflow(sizeX, unit, &unitElements))
        units = std::max<std::uint64_t>(1, targetElements / unitElements);
    const std::uint64_t totalUnits = ceilDiv(sizeY, unit);
    if (units >= totalUnits) return sizeY;
    // Same number of strips, units spread evenly: no tiny last strip. The result
    // is below sizeY since there are at least two strips.
    return evenPiece(totalUnits, units) * unit;
}

// ---- z strips ---------------------------------------------------------------------------------

InputImageZStrip3d::InputImageZStrip3d(const BaseImage& image, std::uint64_t startZ,
                                       std::uint64_t planes, std::uint64_t c, std::uint64_t t)
    : BaseImageZStrip3d(image.getBufferType(), image.getSizeX(), image.getSizeY(), planes, startZ,
                        image.getPlaneStride(), image.getSizeZ(), image.hasVectorPadding()),
      m_elementSize(image.getElementSize()) {
    checkPlanes(image, startZ, planes);
    m_data = volumePlane(image, startZ, c, t);
}

OutputImageZStrip3d::OutputImageZStrip3d(BaseImage& image, std::uint64_t startZ,
                                         std::uint64_t planes, std::uint64_t c, std::uint64_t t)
    : BaseImageZStrip3d(image.getBufferType(), image.getSizeX(), image.getSizeY(), planes, startZ,
                        image.getPlaneStride(), image.getSizeZ(), image.hasVectorPadding()),
      m_elementSize(image.getElementSize()) {
    checkPlanes(image, startZ, planes);
    m_data = volumePlane(image, startZ, c, t);
}

std::uint64_t chooseStripDepth(std::uint64_t planeSize, std::uint64_t sizeZ,
                               std::uint64_t targetElements) {
    if (sizeZ == 0) return 1;
    const std::uint64_t planes =
        planeSize == 0 ? sizeZ : std::max<std::uint64_t>(1, targetElements / planeSize);
    return evenPiece(sizeZ, planes);
}

// ---- strips read through a neighbourhood ----------------------------------------------------

std::uint64_t kernelStripBufferBytes(const KernelStripSource& s) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t width = 0, rows = 0, planes = 0, elements = 0, bytes = 0;
    const bool ok = s.marginX <= max / 2 && s.marginY <= max / 2 && s.marginZ <= max / 2 &&
                    !__builtin_add_overflow(s.sizeX, 2 * s.marginX, &width) && width <= max - 63 &&
                    !__builtin_add_overflow(s.rows, 2 * s.marginY, &rows) &&
                    !__builtin_add_overflow(s.planes, 2 * s.marginZ, &planes) &&
                    !__builtin_mul_overflow(roundUpToPadding(width), rows, &elements) &&
                    !__builtin_mul_overflow(elements, planes, &elements) &&
                    !__builtin_add_overflow(elements, s_vectorPadding, &elements) &&
                    !__builtin_mul_overflow(elements, getImageBufferBaseSize(s.type), &bytes);
    if (!ok || bytes > s_maxImageBytes)
        fail(
            (boost::format(
                 "Strip of %dx%d x %d planes widened by %d, %d, %d exceeds the limit of %d bytes") %
             s.sizeX % s.rows % s.planes % s.marginX % s.marginY % s.marginZ % s_maxImageBytes)
                .str());
    return bytes;
}

namespace {

// Writes the widened strip whose element (x, y, z) = (0, 0, 0) is at `origin`.
template <class T>
void widen(const KernelStripSource& s, const BorderPolicy& policy, T* origin,
           std::ptrdiff_t rowPitch, std::ptrdiff_t planePitch) {
    const auto type = policy.getType();
    const T constant = convertClamped<T>(policy.getConstant());
    const auto mX = static_cast<std::int64_t>(s.marginX), mY = static_cast<std::int64_t>(s.marginY),
               mZ = static_cast<std::int64_t>(s.marginZ);
    const auto sizeX = static_cast<std::int64_t>(s.sizeX),
               sizeY = static_cast<std::int64_t>(s.sizeY),
               sizeZ = static_cast<std::int64_t>(s.sizeZ);
    const auto rows = static_cast<std::int64_t>(s.rows),
               planes = static_cast<std::int64_t>(s.planes);
    const auto startY = static_cast<std::int64_t>(s.startY),
               startZ = static_cast<std::int64_t>(s.startZ);
    const T* volume = reinterpret_cast<const T*>(s.volume);

    // Column index of each margin element (left then right), -1 for the constant.
    const auto columnOf = [&](std::int64_t x) { return mapBorderIndex(type, x, sizeX); };

    for (std::int64_t p = -mZ; p < planes + mZ; ++p) {
        const std::int64_t z = mapBorderIndex(type, startZ + p, sizeZ);
        for (std::int64_t r = -mY; r < rows + mY; ++r) {
            T* dst = origin + p * planePitch + r * rowPitch;
            const std::int64_t y = z < 0 ? -1 : mapBorderIndex(type, startY + r, sizeY);
            if (y < 0) {
                std::fill(dst - mX, dst + sizeX + mX, constant);
                continue;
            }
            const T* src = volume + static_cast<std::uint64_t>(z) * s.planeStride +
                           static_cast<std::uint64_t>(y * sizeX);
            std::copy(src, src + sizeX, dst);
            for (std::int64_t x = -mX; x < 0; ++x) {
                const std::int64_t j = columnOf(x);
                dst[x] = j < 0 ? constant : src[j];
            }
            for (std::int64_t x = sizeX; x < sizeX + mX; ++x) {
                const std::int64_t j = columnOf(x);
                dst[x] = j < 0 ? constant : src[j];
            }
        }
    }
}

}  // namespace

void KernelStripBuffer::build(const KernelStripSource& s, const BorderPolicy& policy) {
    m_valid = false;
    const std::uint64_t bytes = kernelStripBufferBytes(s);  // refuses sizes above the limit
    if (bytes > m_capacity) {
        m_block.reset();
        m_capacity = 0;
        void* block = std::calloc(bytes + 63, 1);
        if (block == nullptr)
            fail((boost::format("Cannot allocate %d bytes for a widened strip") % bytes).str());
        m_block.reset(static_cast<std::byte*>(block));
        m_capacity = bytes;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(m_block.get());
    std::byte* base = m_block.get() + ((64 - address % 64) % 64);

    const std::uint64_t pitch = roundUpToPadding(s.sizeX + 2 * s.marginX);
    m_elementSize = static_cast<std::ptrdiff_t>(getImageBufferBaseSize(s.type));
    m_rowPitch = static_cast<std::ptrdiff_t>(pitch);
    m_planePitch = static_cast<std::ptrdiff_t>(pitch * (s.rows + 2 * s.marginY));
    std::byte* origin = base + (static_cast<std::ptrdiff_t>(s.marginZ) * m_planePitch +
                                static_cast<std::ptrdiff_t>(s.marginY) * m_rowPitch +
                                static_cast<std::ptrdiff_t>(s.marginX)) *
                                   m_elementSize;
    m_origin = origin;
    visitElementType(s.type, [&]<class T>() {
        widen<T>(s, policy, reinterpret_cast<T*>(origin), m_rowPitch, m_planePitch);
    });
    m_source = s;
    m_policy = policy;
    m_valid = true;
}

InputImageYStrip2dWithKernel::InputImageYStrip2dWithKernel(
    const BaseImage& image, std::uint64_t startY, std::uint64_t rows, std::uint64_t kernelSizeX,
    std::uint64_t kernelSizeY, std::uint64_t z, std::uint64_t c, std::uint64_t t)
    : BaseImageYStrip2d(image.getBufferType(), image.getSizeX(), rows, startY, image.getSizeY()),
      m_elementSize(image.getElementSize()) {
    checkRows(image, startY, rows);
    m_source.volume = static_cast<const std::byte*>(image.planeData(z, c, t));
    m_source.planeStride = image.getPlaneStride();
    m_source.sizeX = image.getSizeX();
    m_source.sizeY = image.getSizeY();
    m_source.sizeZ = 1;
    m_source.startY = startY;
    m_source.rows = rows;
    m_source.startZ = 0;
    m_source.planes = 1;
    m_source.marginX = kernelSizeX;
    m_source.marginY = kernelSizeY;
    m_source.type = image.getBufferType();
    kernelStripBufferBytes(m_source);
}

InputImageZStrip3dWithKernel::InputImageZStrip3dWithKernel(
    const BaseImage& image, std::uint64_t startZ, std::uint64_t planes, std::uint64_t kernelSizeX,
    std::uint64_t kernelSizeY, std::uint64_t kernelSizeZ, std::uint64_t c, std::uint64_t t)
    : BaseImageZStrip3d(image.getBufferType(), image.getSizeX(), image.getSizeY(), planes, startZ,
                        image.getPlaneStride(), image.getSizeZ()),
      m_elementSize(image.getElementSize()) {
    checkPlanes(image, startZ, planes);
    m_source.volume = volumePlane(image, 0, c, t);
    m_source.planeStride = image.getPlaneStride();
    m_source.sizeX = image.getSizeX();
    m_source.sizeY = image.getSizeY();
    m_source.sizeZ = image.getSizeZ();
    m_source.startY = 0;
    m_source.rows = image.getSizeY();
    m_source.startZ = startZ;
    m_source.planes = planes;
    m_source.marginX = kernelSizeX;
    m_source.marginY = kernelSizeY;
    m_source.marginZ = kernelSizeZ;
    m_source.type = image.getBufferType();
    kernelStripBufferBytes(m_source);
}

}  // namespace vimra::image
