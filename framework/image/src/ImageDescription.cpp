#include <vimra/image/ImageDescription.h>

#include <boost/format.hpp>

namespace vimra::image {

bool ImageDescription::sameSize(const ImageDescription& o) const {
    return sizeX == o.sizeX && sizeY == o.sizeY && volume.getSizeZ() == o.volume.getSizeZ() &&
           color.getSizeC() == o.color.getSizeC() && temporal.getSizeT() == o.temporal.getSizeT();
}

std::string ImageDescription::toString() const {
    std::string s = (boost::format("%s %dx%d") % bufferTypeName(bufferType) % sizeX % sizeY).str();
    if (volume.getType() == eVolumeGeometryType::e3d)
        s += (boost::format(" z=%d") % volume.getSizeZ()).str();
    if (color.getType() == eColorGeometryType::eMultiChannel)
        s += (boost::format(" c=%d") % color.getSizeC()).str();
    if (temporal.getType() == eTemporalGeometryType::eSequence)
        s += (boost::format(" t=%d") % temporal.getSizeT()).str();
    return s;
}

ImageDescription ImageDescription::make2d(eImageBufferType::domain type, std::uint64_t x,
                                          std::uint64_t y) {
    ImageDescription d;
    d.bufferType = type;
    d.sizeX = x;
    d.sizeY = y;
    return d;
}

ImageDescription ImageDescription::make3d(eImageBufferType::domain type, std::uint64_t x,
                                          std::uint64_t y, std::uint64_t z) {
    ImageDescription d = make2d(type, x, y);
    d.volume = VolumeGeometry::make3d(z);
    return d;
}

ImageDescription ImageDescription::make(eImageBufferType::domain type, std::uint64_t x,
                                        std::uint64_t y, const VolumeGeometry& volume,
                                        const ColorGeometry& color,
                                        const TemporalGeometry& temporal) {
    ImageDescription d = make2d(type, x, y);
    d.volume = volume;
    d.color = color;
    d.temporal = temporal;
    return d;
}

}  // namespace vimra::image
