#pragma once

#include <vimra/image/BufferType.h>
#include <vimra/image/Geometry.h>

#include <cstdint>
#include <string>

namespace vimra::image {

/// Everything needed to allocate an image: buffer type, plane size and the three geometries.
struct ImageDescription {
    eImageBufferType::domain bufferType = eImageBufferType::eUInt8;
    std::uint64_t sizeX = 0;
    std::uint64_t sizeY = 0;
    VolumeGeometry volume;
    ColorGeometry color;
    TemporalGeometry temporal;

    std::uint64_t planeCount() const {
        return volume.getSizeZ() * color.getSizeC() * temporal.getSizeT();
    }
    bool sameSize(const ImageDescription& other) const;
    bool operator==(const ImageDescription&) const = default;

    /// "uint8 640x480" plus ", z=.., c=.., t=.." for the dimensions above 1.
    std::string toString() const;

    static ImageDescription make2d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y);
    static ImageDescription make3d(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                                   std::uint64_t z);
    /// Any geometry: e.g. make(eFloat, 64, 64, VolumeGeometry::make3d(8),
    /// ColorGeometry::multiChannel(3), TemporalGeometry::sequence(10)).
    static ImageDescription make(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y,
                                 const VolumeGeometry& volume, const ColorGeometry& color = {},
                                 const TemporalGeometry& temporal = {});
};

}  // namespace vimra::image
