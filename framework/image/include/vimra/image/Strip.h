#pragma once

#include <vimra/image/BaseImage.h>
#include <vimra/image/Border.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace vimra::image {

// ---- y strips of a 2d plane ------------------------------------------------------------------

/// A band of consecutive whole rows of one 2d plane. Strips are views: their data
/// pointer points into the image's storage (rows are contiguous, so the band is
/// one run of getElementCount() elements).
class BaseImageYStrip2d {
  public:
    BaseImageYStrip2d() = default;
    BaseImageYStrip2d(eImageBufferType::domain type, std::uint64_t sizeX, std::uint64_t rows,
                      std::uint64_t startY, std::uint64_t planeSizeY = 0, bool vectorPadded = true)
        : m_type(type),
          m_sizeX(sizeX),
          m_rows(rows),
          m_startY(startY),
          m_planeSizeY(planeSizeY),
          m_vectorPadded(vectorPadded) {}

    eImageBufferType::domain getImageBufferType() const { return m_type; }
    std::uint64_t getSizeX() const { return m_sizeX; }
    /// Number of rows in the strip.
    std::uint64_t getSizeY() const { return m_rows; }
    /// Index of the strip's first row in its plane.
    std::uint64_t getStripStartOffsetY() const { return m_startY; }
    std::uint64_t getElementCount() const { return m_sizeX * m_rows; }
    /// Height of the plane the strip belongs to.
    std::uint64_t getPlaneSizeY() const { return m_planeSizeY; }
    /// False for strips of caller memory without padding (BaseImage::hasVectorPadding).
    bool hasVectorPadding() const { return m_vectorPadded; }

  private:
    eImageBufferType::domain m_type = eImageBufferType::eUInt8;
    std::uint64_t m_sizeX = 0;
    std::uint64_t m_rows = 0;
    std::uint64_t m_startY = 0;
    std::uint64_t m_planeSizeY = 0;
    bool m_vectorPadded = true;
};

/// Read-only strip of rows [startY, startY + rows) of plane (z, c, t) of an image.
class InputImageYStrip2d : public BaseImageYStrip2d {
  public:
    InputImageYStrip2d() = default;
    InputImageYStrip2d(const BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                       std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0);
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
    OutputImageYStrip2d(BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                        std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0);
    void* getData() const { return m_data; }
    void* getRow(std::uint64_t row) const;

  private:
    void* m_data = nullptr;
    std::size_t m_elementSize = 0;
};

/// Picks the height of the y strips of a plane of `sizeX` x `sizeY` elements:
/// every strip but the last holds a multiple of 64 elements (so a vector kernel's
/// overrun never reaches the next strip, and the last strip's overrun stays in
/// the plane's padding), strips hold at most about `targetElements` elements
/// where the width allows it (the smallest strip is 64 / gcd(sizeX, 64) rows),
/// and the strips of a plane are of even size. Returns a height in [1, sizeY]
/// (1 for an empty plane); strips are [k * h, min((k + 1) * h, sizeY)).
std::uint64_t chooseStripHeight(std::uint64_t sizeX, std::uint64_t sizeY,
                                std::uint64_t targetElements);

// ---- z strips of a 3d volume -----------------------------------------------------------------

/// A band of consecutive whole planes of one 3d volume (all z of one channel and
/// time step). Planes are getPlaneStride() elements apart, each padded, so any
/// band of planes can be processed next to another one.
class BaseImageZStrip3d {
  public:
    BaseImageZStrip3d() = default;
    BaseImageZStrip3d(eImageBufferType::domain type, std::uint64_t sizeX, std::uint64_t sizeY,
                      std::uint64_t planes, std::uint64_t startZ, std::uint64_t planeStride,
                      std::uint64_t volumeSizeZ = 0, bool vectorPadded = true)
        : m_type(type),
          m_sizeX(sizeX),
          m_sizeY(sizeY),
          m_planes(planes),
          m_startZ(startZ),
          m_planeStride(planeStride),
          m_volumeSizeZ(volumeSizeZ),
          m_vectorPadded(vectorPadded) {}

    eImageBufferType::domain getImageBufferType() const { return m_type; }
    std::uint64_t getSizeX() const { return m_sizeX; }
    std::uint64_t getSizeY() const { return m_sizeY; }
    /// Number of planes in the strip.
    std::uint64_t getSizeZ() const { return m_planes; }
    /// Index of the strip's first plane in its volume.
    std::uint64_t getStripStartOffsetZ() const { return m_startZ; }
    /// Elements between the starts of two consecutive planes of the strip.
    std::uint64_t getPlaneStride() const { return m_planeStride; }
    std::uint64_t getPlaneSize() const { return m_sizeX * m_sizeY; }
    std::uint64_t getElementCount() const { return m_sizeX * m_sizeY * m_planes; }
    /// Number of planes of the volume the strip belongs to.
    std::uint64_t getVolumeSizeZ() const { return m_volumeSizeZ; }
    /// False for strips of caller memory without padding (BaseImage::hasVectorPadding).
    bool hasVectorPadding() const { return m_vectorPadded; }

  private:
    eImageBufferType::domain m_type = eImageBufferType::eUInt8;
    std::uint64_t m_sizeX = 0, m_sizeY = 0, m_planes = 0, m_startZ = 0, m_planeStride = 0;
    std::uint64_t m_volumeSizeZ = 0;
    bool m_vectorPadded = true;
};

/// Read-only strip of planes [startZ, startZ + planes) of the volume (c, t) of an image.
class InputImageZStrip3d : public BaseImageZStrip3d {
  public:
    InputImageZStrip3d() = default;
    InputImageZStrip3d(const BaseImage& image, std::uint64_t startZ, std::uint64_t planes,
                       std::uint64_t c = 0, std::uint64_t t = 0);
    /// First element of the strip's first plane.
    const void* getData() const { return m_data; }
    /// First element of plane `plane` (0-based within the strip).
    const void* getPlane(std::uint64_t plane) const {
        return static_cast<const std::byte*>(m_data) + plane * getPlaneStride() * m_elementSize;
    }
    /// Row `row` of plane `plane` of the strip.
    const void* getRow(std::uint64_t row, std::uint64_t plane) const {
        return static_cast<const std::byte*>(getPlane(plane)) + row * getSizeX() * m_elementSize;
    }

  private:
    const void* m_data = nullptr;
    std::size_t m_elementSize = 0;
};

/// Writable strip of planes of one volume of an image.
class OutputImageZStrip3d : public BaseImageZStrip3d {
  public:
    OutputImageZStrip3d() = default;
    OutputImageZStrip3d(BaseImage& image, std::uint64_t startZ, std::uint64_t planes,
                        std::uint64_t c = 0, std::uint64_t t = 0);
    void* getData() const { return m_data; }
    void* getPlane(std::uint64_t plane) const {
        return static_cast<std::byte*>(m_data) + plane * getPlaneStride() * m_elementSize;
    }
    void* getRow(std::uint64_t row, std::uint64_t plane) const {
        return static_cast<std::byte*>(getPlane(plane)) + row * getSizeX() * m_elementSize;
    }

  private:
    void* m_data = nullptr;
    std::size_t m_elementSize = 0;
};

/// Picks the number of planes of the z strips of a volume of `sizeZ` planes of
/// `planeSize` elements: about `targetElements` per strip, at least one plane,
/// strips of even size. Returns a depth in [1, sizeZ] (1 for an empty volume).
std::uint64_t chooseStripDepth(std::uint64_t planeSize, std::uint64_t sizeZ,
                               std::uint64_t targetElements);

// ---- strips read through a neighbourhood -----------------------------------------------------

/// Where a widened strip comes from: a box of a volume plus margins. A 2d strip
/// is a volume of one plane with no z margin.
struct KernelStripSource {
    const std::byte* volume = nullptr;              ///< first element of plane 0 of the volume
    std::uint64_t planeStride = 0;                  ///< elements between the volume's planes
    std::uint64_t sizeX = 0, sizeY = 0, sizeZ = 0;  ///< the volume
    std::uint64_t startY = 0, rows = 0, startZ = 0, planes = 0;  ///< the strip
    std::uint64_t marginX = 0, marginY = 0, marginZ = 0;
    eImageBufferType::domain type = eImageBufferType::eUInt8;
    bool operator==(const KernelStripSource&) const = default;
};

/// The widened copy of a strip that neighbourhood kernels read: for the strip's
/// rows and planes plus `margin` on each side, rows of sizeX + 2 * marginX
/// elements (x from -marginX), each starting on a 64-element boundary of the
/// buffer. Reads from a row's start (x = -marginX) up to getRowPitch() + 64
/// elements stay inside the buffer, so whole-vector loads need no tail. The storage is kept and
/// reused when the buffer is rebuilt for the next strip of a run.
class KernelStripBuffer {
  public:
    KernelStripBuffer() = default;
    KernelStripBuffer(const KernelStripBuffer&) = delete;
    KernelStripBuffer& operator=(const KernelStripBuffer&) = delete;
    KernelStripBuffer(KernelStripBuffer&&) = default;
    KernelStripBuffer& operator=(KernelStripBuffer&&) = default;

    /// Element x = 0 of widened row `row` (in [-marginY, rows + marginY)) of
    /// widened plane `plane` (in [-marginZ, planes + marginZ)).
    const void* row(std::int64_t row, std::int64_t plane = 0) const {
        return m_origin + (plane * m_planePitch + row * m_rowPitch) * m_elementSize;
    }
    /// Elements between consecutive widened rows and planes.
    std::uint64_t getRowPitch() const { return static_cast<std::uint64_t>(m_rowPitch); }
    std::uint64_t getPlanePitch() const { return static_cast<std::uint64_t>(m_planePitch); }

    /// True when the buffer holds `source` read under `policy`.
    bool holds(const KernelStripSource& source, const BorderPolicy& policy) const {
        return m_valid && m_policy == policy && m_source == source;
    }
    /// Fills the buffer with `source` read under `policy` (allocating only when
    /// the stored capacity is too small).
    void build(const KernelStripSource& source, const BorderPolicy& policy);
    void invalidate() { m_valid = false; }

  private:
    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    std::unique_ptr<std::byte, Free> m_block;
    std::uint64_t m_capacity = 0;  ///< usable bytes from the aligned start of m_block
    const std::byte* m_origin = nullptr;
    std::ptrdiff_t m_rowPitch = 0, m_planePitch = 0, m_elementSize = 0;
    KernelStripSource m_source;
    BorderPolicy m_policy;
    bool m_valid = false;
};

/// Bytes a widened buffer of `source` needs; throws ImageException when it
/// overflows or exceeds s_maxImageBytes.
std::uint64_t kernelStripBufferBytes(const KernelStripSource& source);

/// An input strip of rows of a 2d plane, read through a neighbourhood of
/// getStartingKernelSizeX() columns and getStartingKernelSizeY() rows on each
/// side. Rows of the plane next to the strip are read from the image; reads
/// outside the plane follow a Border2dPolicy. The strip itself is a view; the
/// widened rows are a copy made by widenInto (these strips serve neighbourhood
/// formulas, not memory-bound operations).
class InputImageYStrip2dWithKernel : public BaseImageYStrip2d {
  public:
    InputImageYStrip2dWithKernel() = default;
    /// Throws ImageException for rows outside the plane or margins whose widened
    /// strip would exceed the size limit.
    InputImageYStrip2dWithKernel(const BaseImage& image, std::uint64_t startY, std::uint64_t rows,
                                 std::uint64_t kernelSizeX, std::uint64_t kernelSizeY,
                                 std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0);

    std::uint64_t getStartingKernelSizeX() const { return m_source.marginX; }
    std::uint64_t getStartingKernelSizeY() const { return m_source.marginY; }
    /// The strip's first row in the image (not widened).
    const void* getData() const {
        return m_source.volume + getStripStartOffsetY() * getSizeX() * m_elementSize;
    }
    const KernelStripSource& getSource() const { return m_source; }

    /// Makes `buffer` hold this strip widened under `policy`; does nothing when it
    /// already does.
    void widenInto(KernelStripBuffer& buffer, const Border2dPolicy& policy) const {
        if (!buffer.holds(m_source, policy)) buffer.build(m_source, policy);
    }

  private:
    KernelStripSource m_source;
    std::size_t m_elementSize = 0;
};

/// An input strip of planes of a 3d volume read through a neighbourhood of
/// getStartingKernelSizeX/Y/Z() elements on each side; planes next to the strip
/// are read from the image, reads outside the volume follow a Border3dPolicy.
class InputImageZStrip3dWithKernel : public BaseImageZStrip3d {
  public:
    InputImageZStrip3dWithKernel() = default;
    InputImageZStrip3dWithKernel(const BaseImage& image, std::uint64_t startZ, std::uint64_t planes,
                                 std::uint64_t kernelSizeX, std::uint64_t kernelSizeY,
                                 std::uint64_t kernelSizeZ, std::uint64_t c = 0,
                                 std::uint64_t t = 0);

    std::uint64_t getStartingKernelSizeX() const { return m_source.marginX; }
    std::uint64_t getStartingKernelSizeY() const { return m_source.marginY; }
    std::uint64_t getStartingKernelSizeZ() const { return m_source.marginZ; }
    /// First element of the strip's first plane in the image.
    const void* getData() const {
        return m_source.volume + getStripStartOffsetZ() * getPlaneStride() * m_elementSize;
    }
    const KernelStripSource& getSource() const { return m_source; }

    void widenInto(KernelStripBuffer& buffer, const Border3dPolicy& policy) const {
        if (!buffer.holds(m_source, policy)) buffer.build(m_source, policy);
    }

  private:
    KernelStripSource m_source;
    std::size_t m_elementSize = 0;
};

}  // namespace vimra::image
