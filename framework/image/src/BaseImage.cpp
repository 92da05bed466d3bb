#include <vimra/image/BaseImage.h>

#include <boost/format.hpp>
#include <boost/make_shared.hpp>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include <sys/mman.h>

namespace vimra::image {

namespace {

[[noreturn]] void fail(const std::string& message) {
    throw ImageException(message, "vimra::image");
}

// a * b, or false when the product does not fit 64 bits.
bool mulChecked(std::uint64_t a, std::uint64_t b, std::uint64_t& out) {
    return !__builtin_mul_overflow(a, b, &out);
}

}  // namespace

void checkDescription(const ImageDescription& d) {
    if (!isValidBufferType(d.bufferType))
        fail(
            (boost::format("Invalid image buffer type %d") % static_cast<int>(d.bufferType)).str());
    const std::uint64_t z = d.volume.getSizeZ(), c = d.color.getSizeC(), t = d.temporal.getSizeT();
    if (d.sizeX == 0 || d.sizeY == 0 || z == 0 || c == 0 || t == 0)
        fail((boost::format(
                  "Invalid image size %dx%d z=%d c=%d t=%d: every dimension must be at least 1") %
              d.sizeX % d.sizeY % z % c % t)
                 .str());
    if (d.volume.getType() == eVolumeGeometryType::e2d && z != 1)
        fail("A 2d image must have exactly one plane");
    if (d.color.getType() == eColorGeometryType::eGrey && c != 1)
        fail("A grey image must have exactly one channel");
    if (d.temporal.getType() == eTemporalGeometryType::eSingle && t != 1)
        fail("A single image must have exactly one time step");

    std::uint64_t plane = 0, planes = 0, elements = 0, bytes = 0;
    const bool ok = mulChecked(d.sizeX, d.sizeY, plane) &&
                    plane <= std::numeric_limits<std::uint64_t>::max() - 64 &&
                    mulChecked(z, c, planes) && mulChecked(planes, t, planes) &&
                    mulChecked(roundUpToPadding(plane), planes, elements) &&
                    mulChecked(elements, getImageBufferBaseSize(d.bufferType), bytes);
    if (!ok || bytes > s_maxImageBytes)
        fail((boost::format("Image size %dx%d z=%d c=%d t=%d of %s exceeds the limit of %d bytes") %
              d.sizeX % d.sizeY % z % c % t % bufferTypeName(d.bufferType) % s_maxImageBytes)
                 .str());
}

BaseImage::BaseImage(const ImageDescription& desc, std::byte* origin, const PlaneLayout& layout)
    : m_desc(desc),
      m_elementSize(getImageBufferBaseSize(desc.bufferType)),
      m_planeStride(layout.planeStride),
      m_origin(origin),
      m_layout(layout) {}

BaseImage::~BaseImage() = default;

std::byte* BaseImage::planeAddress(std::uint64_t z, std::uint64_t c, std::uint64_t t) const {
    if (isGpuImage()) fail("The pixels of a GPU image are not accessible from the host");
    return anyPlaneAddress(z, c, t);
}

void* BaseImage::devicePlaneData(std::uint64_t z, std::uint64_t c, std::uint64_t t) const {
    if (!isGpuImage()) fail("A host image has no device address; upload it to a GPU image first");
    return anyPlaneAddress(z, c, t);
}

/// Host or device address, computed only: nothing is read here.
std::byte* BaseImage::anyPlaneAddress(std::uint64_t z, std::uint64_t c, std::uint64_t t) const {
    if (z >= getSizeZ() || c >= getSizeC() || t >= getSizeT())
        fail((boost::format("Plane (z=%d, c=%d, t=%d) is outside the image %s") % z % c % t %
              m_desc.toString())
                 .str());
    const std::uint64_t offset =
        z * m_layout.planeStride + c * m_layout.strideC + t * m_layout.strideT;
    return m_origin + offset * m_elementSize;
}

const void* BaseImage::planeData(std::uint64_t z, std::uint64_t c, std::uint64_t t) const {
    return planeAddress(z, c, t);
}
void* BaseImage::planeData(std::uint64_t z, std::uint64_t c, std::uint64_t t) {
    return planeAddress(z, c, t);
}

void BaseImage::checkElementType(eImageBufferType::domain requested) const {
    if (elementIndex(requested) != elementIndex(m_desc.bufferType))
        fail((boost::format("Element type %s requested from an image of buffer type %s") %
              bufferTypeName(requested) % bufferTypeName(m_desc.bufferType))
                 .str());
}

void BaseImage::checkXY(std::uint64_t x, std::uint64_t y) const {
    if (x >= getSizeX() || y >= getSizeY())
        fail((boost::format("Pixel (%d, %d) is outside the image %s") % x % y % m_desc.toString())
                 .str());
}

double BaseImage::getValue(std::uint64_t x, std::uint64_t y, std::uint64_t z, std::uint64_t c,
                           std::uint64_t t) const {
    checkXY(x, y);
    const std::byte* p = planeAddress(z, c, t) + (y * getSizeX() + x) * m_elementSize;
    return visitElementType(m_desc.bufferType, [p]<class T>() {
        T v;
        std::memcpy(&v, p, sizeof(T));
        return static_cast<double>(v);
    });
}

void BaseImage::setValue(double value, std::uint64_t x, std::uint64_t y, std::uint64_t z,
                         std::uint64_t c, std::uint64_t t) {
    checkXY(x, y);
    std::byte* p = planeAddress(z, c, t) + (y * getSizeX() + x) * m_elementSize;
    visitElementType(m_desc.bufferType, [p, value]<class T>() {
        const T v = convertClamped<T>(value);
        std::memcpy(p, &v, sizeof(T));
    });
}

void BaseImage::fill(double value) {
    visitElementType(m_desc.bufferType, [this, value]<class T>() {
        const T v = convertClamped<T>(value);
        for (std::uint64_t t = 0; t < getSizeT(); ++t)
            for (std::uint64_t c = 0; c < getSizeC(); ++c)
                for (std::uint64_t z = 0; z < getSizeZ(); ++z) {
                    T* p = plane<T>(z, c, t);
                    for (std::uint64_t i = 0, n = getPlaneSize(); i < n; ++i) p[i] = v;
                }
    });
}

// ---------------------------------------------------------------------------------------------

namespace {

std::atomic<std::uint64_t> g_liveStorageBytes{0};

// Storage from 4 MiB up is mapped on its own, 2 MiB aligned, and the kernel is
// asked for transparent huge pages: a pass over a large image then walks one
// page table entry per 2 MiB instead of per 4 KiB, which keeps the TLB out of
// the way of memory-bound loops (NumPy does the same for its large arrays).
// Fresh mappings are zero, so zeroed storage costs no pass either.
constexpr std::uint64_t s_hugePage = std::uint64_t{2} << 20;
constexpr std::uint64_t s_mappedFrom = std::uint64_t{4} << 20;

// Frees storage obtained by allocateStorage and keeps the live-bytes count.
struct StorageDeleter {
    void* block;
    std::uint64_t bytes;
    std::size_t mapped;  // length of the mapping at `block`, 0 for malloc'ed storage
    void operator()(std::byte*) const {
        if (mapped != 0)
            munmap(block, mapped);
        else
            std::free(block);
        g_liveStorageBytes.fetch_sub(bytes, std::memory_order_relaxed);
    }
};

// A mapping of at least `bytes` starting on a huge-page boundary, or null.
void* mapHugePageAligned(std::size_t bytes, std::size_t& length) {
    length = static_cast<std::size_t>((bytes + s_hugePage - 1) / s_hugePage * s_hugePage);
    const std::size_t request = length + static_cast<std::size_t>(s_hugePage);
    void* raw = mmap(nullptr, request, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t aligned = (address + s_hugePage - 1) & ~std::uintptr_t{s_hugePage - 1};
    // Give back the unaligned ends of the over-sized mapping.
    if (aligned > address) munmap(raw, aligned - address);
    const std::uintptr_t end = address + request;
    if (end > aligned + length) munmap(reinterpret_cast<void*>(aligned + length), end - (aligned + length));
    void* block = reinterpret_cast<void*>(aligned);
    madvise(block, length, MADV_HUGEPAGE);  // advice only: without it (or without THP) normal pages serve
    return block;
}

// `bytes` of storage starting on a 64-byte boundary. Zeroed storage comes from
// calloc or a fresh mapping, which hand large blocks over as zero pages without
// touching them: creating a big zero image costs no pass over memory.
boost::shared_ptr<std::byte> allocateStorage(std::uint64_t bytes, bool zero) {
    // Callers checked the description; this is the last line before the allocator.
    if (bytes > s_maxImageBytes)
        fail((boost::format("Image storage of %d bytes exceeds the limit of %d bytes") % bytes %
              s_maxImageBytes)
                 .str());
    if (bytes >= s_mappedFrom) {
        std::size_t length = 0;
        if (void* block = mapHugePageAligned(static_cast<std::size_t>(bytes), length)) {
            g_liveStorageBytes.fetch_add(bytes, std::memory_order_relaxed);
            return boost::shared_ptr<std::byte>(static_cast<std::byte*>(block), StorageDeleter{block, bytes, length});
        }
    }
    const std::size_t request = static_cast<std::size_t>(bytes) + 63;
    void* block = zero ? std::calloc(request, 1) : std::malloc(request);
    if (block == nullptr)
        fail((boost::format("Cannot allocate %d bytes for an image") % bytes).str());
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    auto* aligned = reinterpret_cast<std::byte*>((address + 63) & ~std::uintptr_t{63});
    g_liveStorageBytes.fetch_add(bytes, std::memory_order_relaxed);
    return boost::shared_ptr<std::byte>(aligned, StorageDeleter{block, bytes, 0});
}

}  // namespace

std::uint64_t getLiveImageStorageBytes() {
    return g_liveStorageBytes.load(std::memory_order_relaxed);
}

Image::Image(const ImageDescription& desc, std::byte* origin, const PlaneLayout& layout,
             boost::shared_ptr<void> owner)
    : BaseImage(desc, origin, layout), m_owner(std::move(owner)) {}

Image::~Image() = default;

ImagePtr Image::create(const ImageDescription& desc, eInit init) {
    checkDescription(desc);  // sizes are known not to overflow from here on
    const std::uint64_t planeSize = desc.sizeX * desc.sizeY;
    const std::uint64_t stride = roundUpToPadding(planeSize);
    const std::uint64_t planes = desc.planeCount();
    const std::size_t elementSize = getImageBufferBaseSize(desc.bufferType);
    const std::uint64_t bytes = stride * planes * elementSize;

    boost::shared_ptr<std::byte> storage = allocateStorage(bytes, init == eInit::eZero);
    if (init == eInit::eUninitialized && stride != planeSize) {
        // The padding is always defined, so vector kernels read known values past a plane.
        for (std::uint64_t p = 0; p < planes; ++p)
            std::memset(storage.get() + (p * stride + planeSize) * elementSize, 0,
                        (stride - planeSize) * elementSize);
    }
    const PlaneLayout layout{stride, stride * desc.volume.getSizeZ(),
                             stride * desc.volume.getSizeZ() * desc.color.getSizeC()};
    std::byte* origin = storage.get();
    return ImagePtr(new Image(desc, origin, layout, boost::shared_ptr<void>(storage)));
}

ImagePtr Image::create2d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y) {
    return create(ImageDescription::make2d(type, x, y));
}

ImagePtr Image::create3d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                         std::uint64_t z) {
    return create(ImageDescription::make3d(type, x, y, z));
}

ImagePtr Image::clone(const BaseImage& source) {
    ImagePtr copy = create(source.getDescription(), eInit::eUninitialized);
    const std::size_t planeBytes = source.getPlaneSize() * source.getElementSize();
    for (std::uint64_t t = 0; t < source.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < source.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < source.getSizeZ(); ++z)
                std::memcpy(copy->planeData(z, c, t), source.planeData(z, c, t), planeBytes);
    return copy;
}

ImagePtr Image::wrap(const ImageDescription& desc, void* data, std::uint64_t planeStride,
                     boost::shared_ptr<void> owner) {
    checkDescription(desc);
    if (data == nullptr) fail("Cannot wrap a null buffer");
    const std::size_t elementSize = getImageBufferBaseSize(desc.bufferType);
    if (reinterpret_cast<std::uintptr_t>(data) % elementSize != 0)
        fail((boost::format(
                  "Cannot wrap a buffer at %p: it is not aligned for %s elements (%d bytes)") %
              data % bufferTypeName(desc.bufferType) % elementSize)
                 .str());
    const std::uint64_t planeSize = desc.sizeX * desc.sizeY;
    if (planeStride < planeSize)
        fail((boost::format("Plane stride %d is smaller than the planes of %d elements") %
              planeStride % planeSize)
                 .str());
    std::uint64_t total = 0;
    if (!mulChecked(planeStride, desc.planeCount(), total) ||
        !mulChecked(total, elementSize, total) || total > s_maxImageBytes)
        fail((boost::format("Wrapped image %s with plane stride %d exceeds the limit of %d bytes") %
              desc.toString() % planeStride % s_maxImageBytes)
                 .str());
    const PlaneLayout layout{planeStride, planeStride * desc.volume.getSizeZ(),
                             planeStride * desc.volume.getSizeZ() * desc.color.getSizeC()};
    return ImagePtr(new Image(desc, static_cast<std::byte*>(data), layout, std::move(owner)));
}

// ---------------------------------------------------------------------------------------------

namespace {

ImageDescription viewDescription(const BaseImage& parent, const ImageView::Box& b) {
    const bool inside = b.sizeZ >= 1 && b.sizeC >= 1 && b.sizeT >= 1 && b.z0 < parent.getSizeZ() &&
                        b.sizeZ <= parent.getSizeZ() - b.z0 && b.c0 < parent.getSizeC() &&
                        b.sizeC <= parent.getSizeC() - b.c0 && b.t0 < parent.getSizeT() &&
                        b.sizeT <= parent.getSizeT() - b.t0;
    if (!inside)
        fail((boost::format("View z=%d+%d c=%d+%d t=%d+%d does not fit in image %s") % b.z0 %
              b.sizeZ % b.c0 % b.sizeC % b.t0 % b.sizeT % parent.getDescription().toString())
                 .str());
    ImageDescription d = parent.getDescription();
    const bool allZ = b.sizeZ == parent.getSizeZ(), allC = b.sizeC == parent.getSizeC(),
               allT = b.sizeT == parent.getSizeT();
    if (!(b.keepVolumeType && allZ))
        d.volume = b.sizeZ == 1 ? VolumeGeometry::make2d() : VolumeGeometry::make3d(b.sizeZ);
    if (!(b.keepColorType && allC))
        d.color = b.sizeC == 1 ? ColorGeometry::grey() : ColorGeometry::multiChannel(b.sizeC);
    if (!(b.keepTemporalType && allT))
        d.temporal =
            b.sizeT == 1 ? TemporalGeometry::single() : TemporalGeometry::sequence(b.sizeT);
    return d;
}

}  // namespace

ImageView::Box ImageView::Box::plane2d(std::uint64_t z, std::uint64_t c, std::uint64_t t) {
    return Box{z, 1, c, 1, t, 1};
}
ImageView::Box ImageView::Box::color2d(const BaseImage& parent, std::uint64_t z, std::uint64_t t) {
    Box b{z, 1, 0, parent.getSizeC(), t, 1};
    b.keepColorType = true;
    return b;
}
ImageView::Box ImageView::Box::sequence2d(const BaseImage& parent, std::uint64_t z,
                                          std::uint64_t c) {
    Box b{z, 1, c, 1, 0, parent.getSizeT()};
    b.keepTemporalType = true;
    return b;
}
ImageView::Box ImageView::Box::volume3d(const BaseImage& parent, std::uint64_t c, std::uint64_t t) {
    Box b{0, parent.getSizeZ(), c, 1, t, 1};
    b.keepVolumeType = true;
    return b;
}
ImageView::Box ImageView::Box::color3d(const BaseImage& parent, std::uint64_t t) {
    Box b{0, parent.getSizeZ(), 0, parent.getSizeC(), t, 1};
    b.keepVolumeType = b.keepColorType = true;
    return b;
}

ImageView::ImageView(const BaseImage& parent, const ImageDescription& desc, const Box& box,
                     boost::shared_ptr<const BaseImage> keepAlive)
    : BaseImage(desc, parent.anyPlaneAddress(box.z0, box.c0, box.t0), parent.layout()),
      m_parent(std::move(keepAlive)) {}

ConstImagePtr ImageView::create(const ConstImagePtr& parent, const Box& box) {
    if (!parent) fail("Cannot make a view of a null image");
    const ImageDescription desc = viewDescription(*parent, box);
    return ConstImagePtr(new ImageView(*parent, desc, box, parent));
}

ImagePtr ImageView::create(const ImagePtr& parent, const Box& box) {
    if (!parent) fail("Cannot make a view of a null image");
    const ImageDescription desc = viewDescription(*parent, box);
    return ImagePtr(new ImageView(*parent, desc, box, parent));
}

}  // namespace vimra::image
