#pragma once

#include <vimra/core/BaseException.h>
#include <vimra/image/ImageDescription.h>

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vimra::image {

/// Raised for invalid image sizes, coordinates, element types and views.
class ImageException : public core::BaseException {
  public:
    using core::BaseException::BaseException;
};

/// Number of elements that storage is padded to: vector kernels walk whole steps
/// of up to this many elements without a scalar tail.
inline constexpr std::uint64_t s_vectorPadding = 64;

/// Largest number of bytes one image, or one widened kernel strip, may hold
/// (2^39, 512 GiB). Larger requests, and sizes whose product overflows, are
/// refused before any allocation. The limit stays below what allocators serve
/// at all (AddressSanitizer refuses a block above 1 TiB by aborting), so a size
/// no machine can hold is an ImageException, never a crash.
inline constexpr std::uint64_t s_maxImageBytes = std::uint64_t{1} << 39;

constexpr std::uint64_t roundUpToPadding(std::uint64_t n) {
    return (n + s_vectorPadding - 1) / s_vectorPadding * s_vectorPadding;
}

/// An image: sizeX x sizeY planes, sizeZ planes per volume, sizeC volumes per
/// time step, sizeT time steps.
///
/// Memory layout (host images; docs/image-model.md has the full contract):
/// - a plane is sizeX*sizeY elements, row after row with no gap (row stride =
///   sizeX), so any band of whole rows is one contiguous run of elements;
/// - planes are `getPlaneStride()` elements apart; the stride is a multiple of 64
///   elements (s_vectorPadding) and at least the plane size rounded up to it, so
///   a vector kernel started at a 64-element boundary of a plane may overrun its
///   run up to the next multiple of 64 without touching another plane;
/// - the plane of (z, c, t) starts z * getPlaneStride() + c * getChannelStride()
///   + t * getTimeStride() elements from plane (0, 0, 0); an owning image stores
///   z fastest, then c, then t; views keep their parent's strides;
/// - owning storage starts on a 64-byte boundary, so every plane does too.
///
/// Images are handled through boost::shared_ptr; inputs as pointers to const.
class BaseImage {
  public:
    virtual ~BaseImage();
    BaseImage(const BaseImage&) = delete;
    BaseImage& operator=(const BaseImage&) = delete;

    eImageBufferType::domain getBufferType() const { return m_desc.bufferType; }
    std::uint64_t getSizeX() const { return m_desc.sizeX; }
    std::uint64_t getSizeY() const { return m_desc.sizeY; }
    std::uint64_t getSizeZ() const { return m_desc.volume.getSizeZ(); }
    std::uint64_t getSizeC() const { return m_desc.color.getSizeC(); }
    std::uint64_t getSizeT() const { return m_desc.temporal.getSizeT(); }

    const VolumeGeometry& getVolumeGeometry() const { return m_desc.volume; }
    eVolumeGeometryType::domain getVolumeGeometryType() const { return m_desc.volume.getType(); }
    const ColorGeometry& getColorGeometry() const { return m_desc.color; }
    eColorGeometryType::domain getColorGeometryType() const { return m_desc.color.getType(); }
    const TemporalGeometry& getTemporalGeometry() const { return m_desc.temporal; }
    eTemporalGeometryType::domain getTemporalGeometryType() const {
        return m_desc.temporal.getType();
    }

    const ImageDescription& getDescription() const { return m_desc; }
    std::size_t getElementSize() const { return m_elementSize; }
    std::uint64_t getPlaneSize() const { return m_desc.sizeX * m_desc.sizeY; }
    std::uint64_t getPlaneCount() const { return m_desc.planeCount(); }
    /// Elements between the starts of two consecutive planes of the same volume.
    std::uint64_t getPlaneStride() const { return m_planeStride; }
    /// Elements between the starts of plane (z, c, t) and (z, c + 1, t).
    std::uint64_t getChannelStride() const { return m_layout.strideC; }
    /// Elements between the starts of plane (z, c, t) and (z, c, t + 1).
    std::uint64_t getTimeStride() const { return m_layout.strideT; }

    /// True when every plane is followed by room for a vector kernel's overrun
    /// (plane stride at least the plane size rounded up to 64): owning images,
    /// their views and padded wraps. Strips of other images (caller memory that
    /// ends at its last pixel) run their last partial vector step through a
    /// scratch copy (processor::runKernelWithinBuffers).
    bool hasVectorPadding() const { return m_planeStride >= roundUpToPadding(getPlaneSize()); }

    /// Images that live in GPU memory answer true; their pixels are not host-accessible.
    virtual bool isGpuImage() const { return false; }

    /// First element of plane (z, c, t). Throws ImageException for coordinates
    /// out of range or a GPU image.
    const void* planeData(std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0) const;
    void* planeData(std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0);
    /// Device address of plane (z, c, t) of a GPU image, for kernel launches.
    /// Throws ImageException for coordinates out of range or a host image.
    void* devicePlaneData(std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0) const;

    /// Typed plane access; T must be the element type of the buffer type.
    template <class T>
    const T* plane(std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0) const {
        checkElementType(BufferTypeOf<std::remove_cv_t<T>>::value);
        return static_cast<const T*>(planeData(z, c, t));
    }
    template <class T>
    T* plane(std::uint64_t z = 0, std::uint64_t c = 0, std::uint64_t t = 0) {
        checkElementType(BufferTypeOf<std::remove_cv_t<T>>::value);
        return static_cast<T*>(planeData(z, c, t));
    }

    /// Typed pixel access, bounds-checked.
    template <class T>
    T at(std::uint64_t x, std::uint64_t y, std::uint64_t z = 0, std::uint64_t c = 0,
         std::uint64_t t = 0) const {
        checkXY(x, y);
        return plane<T>(z, c, t)[y * getSizeX() + x];
    }
    template <class T>
    T& at(std::uint64_t x, std::uint64_t y, std::uint64_t z = 0, std::uint64_t c = 0,
          std::uint64_t t = 0) {
        checkXY(x, y);
        return plane<T>(z, c, t)[y * getSizeX() + x];
    }

    /// Untyped pixel access through double (exact for every element type).
    /// setValue converts with convertClamped: clamped to the type's range, then
    /// truncated toward zero for integers; NaN stores 0 in integer images.
    double getValue(std::uint64_t x, std::uint64_t y, std::uint64_t z = 0, std::uint64_t c = 0,
                    std::uint64_t t = 0) const;
    void setValue(double value, std::uint64_t x, std::uint64_t y, std::uint64_t z = 0,
                  std::uint64_t c = 0, std::uint64_t t = 0);

    /// Sets every pixel (padding excluded) to `value`, converted as in setValue.
    void fill(double value);

    /// True when both images have the same size in every dimension.
    bool sameSize(const BaseImage& other) const { return m_desc.sameSize(other.m_desc); }

  protected:
    struct PlaneLayout {
        std::uint64_t planeStride = 0;  ///< elements between consecutive z planes
        std::uint64_t strideC = 0;      ///< elements between consecutive channels
        std::uint64_t strideT = 0;      ///< elements between consecutive time steps
    };
    BaseImage(const ImageDescription& desc, std::byte* origin, const PlaneLayout& layout);

    std::byte* origin() const { return m_origin; }
    const PlaneLayout& layout() const { return m_layout; }

  private:
    friend class ImageView;
    void checkElementType(eImageBufferType::domain requested) const;
    void checkXY(std::uint64_t x, std::uint64_t y) const;
    std::byte* planeAddress(std::uint64_t z, std::uint64_t c, std::uint64_t t) const;
    std::byte* anyPlaneAddress(std::uint64_t z, std::uint64_t c, std::uint64_t t) const;

    ImageDescription m_desc;
    std::size_t m_elementSize;
    std::uint64_t m_planeStride;
    std::byte* m_origin;
    PlaneLayout m_layout;
};

using ImagePtr = boost::shared_ptr<BaseImage>;
using ConstImagePtr = boost::shared_ptr<const BaseImage>;

/// Validates a description: valid buffer type, every size at least 1, geometry
/// types consistent with their sizes, total bytes (padding included) at most
/// s_maxImageBytes without overflow. Throws ImageException naming the fault.
/// Only arithmetic: nothing is allocated before the description is accepted.
void checkDescription(const ImageDescription& desc);

/// Bytes of pixel storage currently held by owning images of this process
/// (wrapped memory is not counted). Lets callers and tests account for memory.
std::uint64_t getLiveImageStorageBytes();

/// An image that owns its host storage (64-byte aligned, padded as described on BaseImage).
class Image final : public BaseImage {
  public:
    enum class eInit { eZero, eUninitialized };

    /// Allocates an image; pixels are zero unless eUninitialized is asked for
    /// (padding is always zeroed).
    static ImagePtr create(const ImageDescription& desc, eInit init = eInit::eZero);
    static ImagePtr create2d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y);
    static ImagePtr create3d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                             std::uint64_t z);
    /// Allocates an image of the same description as `source` and copies its pixels.
    static ImagePtr clone(const BaseImage& source);

    /// Wraps caller-owned memory laid out as described on BaseImage with the given
    /// plane stride (in elements, consecutive z, then c, then t planes), at least
    /// the plane size; `data` must be aligned for the element type. The buffer
    /// must hold planeStride * planeCount elements. With a stride of at least the
    /// plane size rounded up to 64 the image is padded (hasVectorPadding) and
    /// vector kernels may write anywhere in each plane's padding; with a smaller
    /// one (packed planes, as other libraries' arrays come) nothing outside the
    /// planes is read or written. `owner` (optional) is kept alive as long as the image.
    static ImagePtr wrap(const ImageDescription& desc, void* data, std::uint64_t planeStride,
                         boost::shared_ptr<void> owner = {});

    ~Image() override;

  private:
    Image(const ImageDescription& desc, std::byte* origin, const PlaneLayout& layout,
          boost::shared_ptr<void> owner);
    boost::shared_ptr<void> m_owner;
};

/// A view of a box of planes of another image: z0..z0+sizeZ-1, c0.., t0..; full
/// planes in x and y. It shares the parent's storage (and so its padding) and
/// keeps the parent alive.
///
/// Geometry types of a view: a dimension of size 1 is 2d / grey / single, a larger
/// one 3d / multi-channel / sequence; except that the builders of the five
/// sub-image kinds keep the parent's type in the dimensions they span, so a volume
/// view of a 3d image with one plane is still 3d.
class ImageView final : public BaseImage {
  public:
    struct Box {
        std::uint64_t z0 = 0, sizeZ = 1;
        std::uint64_t c0 = 0, sizeC = 1;
        std::uint64_t t0 = 0, sizeT = 1;
        /// Keep the parent's geometry type in that dimension (for boxes spanning it).
        bool keepVolumeType = false, keepColorType = false, keepTemporalType = false;

        /// The five sub-image kinds the processing framework iterates over.
        static Box plane2d(std::uint64_t z, std::uint64_t c, std::uint64_t t);  ///< one plane
        static Box color2d(const BaseImage& parent, std::uint64_t z, std::uint64_t t);  ///< all c
        static Box sequence2d(const BaseImage& parent, std::uint64_t z,
                              std::uint64_t c);                                          ///< all t
        static Box volume3d(const BaseImage& parent, std::uint64_t c, std::uint64_t t);  ///< all z
        static Box color3d(const BaseImage& parent, std::uint64_t t);  ///< all z and c
    };
    /// Throws ImageException when the box is empty or does not fit in the parent.
    static ConstImagePtr create(const ConstImagePtr& parent, const Box& box);
    static ImagePtr create(const ImagePtr& parent, const Box& box);

    /// A view of a GPU image is a GPU image.
    bool isGpuImage() const override { return m_parent->isGpuImage(); }
    /// The image this view looks into.
    const BaseImage& getParent() const { return *m_parent; }

  private:
    ImageView(const BaseImage& parent, const ImageDescription& desc, const Box& box,
              boost::shared_ptr<const BaseImage> keepAlive);
    boost::shared_ptr<const BaseImage> m_parent;
};

}  // namespace vimra::image
