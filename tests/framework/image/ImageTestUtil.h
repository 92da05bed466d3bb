#pragma once

// Reference facts and helpers of the image tests, written from the documented
// model and independent of the library's own tables.

#include <vimra/image/BaseImage.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace vimra::image::test {

/// One buffer type with the facts the tests check against.
struct TypeFacts {
    eImageBufferType::domain type;
    const char* name;
    int elementIndex;  ///< 0 int8, 1 uint8, 2 int16, 3 uint16, 4 int32, 5 uint32, 6 float
    std::size_t bytes;
    double lowest, highest;
    bool isFloat;
};

inline const std::vector<TypeFacts>& allTypes() {
    static const std::vector<TypeFacts> types = {
        {eImageBufferType::eInt8, "int8", 0, 1, -128.0, 127.0, false},
        {eImageBufferType::eUInt8, "uint8", 1, 1, 0.0, 255.0, false},
        {eImageBufferType::eInt16, "int16", 2, 2, -32768.0, 32767.0, false},
        {eImageBufferType::eUInt16, "uint16", 3, 2, 0.0, 65535.0, false},
        {eImageBufferType::eInt32, "int32", 4, 4, -2147483648.0, 2147483647.0, false},
        {eImageBufferType::eUInt32, "uint32", 5, 4, 0.0, 4294967295.0, false},
        {eImageBufferType::eFloat, "float", 6, 4, -3.4028234663852886e38, 3.4028234663852886e38,
         true},
        {eImageBufferType::eBinary, "binary", 1, 1, 0.0, 255.0, false},
        {eImageBufferType::eLabel16, "label16", 3, 2, 0.0, 65535.0, false},
        {eImageBufferType::eLabel32, "label32", 5, 4, 0.0, 4294967295.0, false},
        {eImageBufferType::eLabel8, "label8", 1, 1, 0.0, 255.0, false},
    };
    return types;
}

/// Calls f.template operator()<T>() with the element type of an element index.
template <class F>
void withElement(int elementIndex, F&& f) {
    switch (elementIndex) {
        case 0:
            f.template operator()<signed char>();
            break;
        case 1:
            f.template operator()<unsigned char>();
            break;
        case 2:
            f.template operator()<short>();
            break;
        case 3:
            f.template operator()<unsigned short>();
            break;
        case 4:
            f.template operator()<int>();
            break;
        case 5:
            f.template operator()<unsigned int>();
            break;
        default:
            f.template operator()<float>();
            break;
    }
}

/// A geometry the table-driven tests run over.
struct GeometryCase {
    const char* name;
    std::uint64_t x, y;
    VolumeGeometry volume;
    ColorGeometry color;
    TemporalGeometry temporal;

    ImageDescription describe(eImageBufferType::domain type) const {
        return ImageDescription::make(type, x, y, volume, color, temporal);
    }
    std::uint64_t z() const { return volume.getSizeZ(); }
    std::uint64_t c() const { return color.getSizeC(); }
    std::uint64_t t() const { return temporal.getSizeT(); }
};

inline const std::vector<GeometryCase>& allGeometries() {
    static const std::vector<GeometryCase> geometries = {
        {"Grey2d", 13, 7, VolumeGeometry::make2d(), ColorGeometry::grey(),
         TemporalGeometry::single()},
        {"Grey3d", 13, 7, VolumeGeometry::make3d(4), ColorGeometry::grey(),
         TemporalGeometry::single()},
        {"Color2d", 13, 7, VolumeGeometry::make2d(), ColorGeometry::multiChannel(3),
         TemporalGeometry::single()},
        {"Sequence2d", 13, 7, VolumeGeometry::make2d(), ColorGeometry::grey(),
         TemporalGeometry::sequence(3)},
        {"Color3dSequence", 13, 7, VolumeGeometry::make3d(3), ColorGeometry::multiChannel(2),
         TemporalGeometry::sequence(2)},
        {"OnePixel", 1, 1, VolumeGeometry::make2d(), ColorGeometry::grey(),
         TemporalGeometry::single()},
        {"Wide3dOnePlane", 64, 3, VolumeGeometry::make3d(1), ColorGeometry::multiChannel(1),
         TemporalGeometry::sequence(1)},
    };
    return geometries;
}

constexpr std::uint64_t roundUp64(std::uint64_t n) {
    return (n + 63) / 64 * 64;
}

/// A value for the pixel with linear index `index` that every element type of
/// the buffer type stores exactly, and that differs from its neighbours.
inline double patternValue(const TypeFacts& facts, std::uint64_t index) {
    const std::uint64_t mod = facts.bytes == 1 ? 101 : facts.bytes == 2 ? 30011 : 1000003;
    const double v = static_cast<double>(index % mod);
    return facts.lowest < 0 ? v - static_cast<double>(mod / 2) : v;
}

/// Linear index of pixel (x, y, z, c, t) of an image, z fastest after y.
inline std::uint64_t linearIndex(const BaseImage& img, std::uint64_t x, std::uint64_t y,
                                 std::uint64_t z, std::uint64_t c, std::uint64_t t) {
    return (((t * img.getSizeC() + c) * img.getSizeZ() + z) * img.getSizeY() + y) * img.getSizeX() +
           x;
}

/// The element the image stores for `v`: clamped to the type's range, integers
/// truncated toward zero, NaN as 0 in integer types.
inline double storedValue(const TypeFacts& facts, double v) {
    if (facts.isFloat) {
        if (v != v) return v;
        if (v > facts.highest && v != std::numeric_limits<double>::infinity()) return facts.highest;
        if (v < facts.lowest && v != -std::numeric_limits<double>::infinity()) return facts.lowest;
        return static_cast<double>(static_cast<float>(v));
    }
    if (v != v) return 0.0;
    if (v <= facts.lowest) return facts.lowest;
    if (v >= facts.highest) return facts.highest;
    return v < 0 ? -static_cast<double>(static_cast<std::int64_t>(-v))
                 : static_cast<double>(static_cast<std::int64_t>(v));
}

/// Fills every pixel with patternValue of its linear index.
inline void fillPattern(BaseImage& img, const TypeFacts& facts) {
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
                for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
                    for (std::uint64_t x = 0; x < img.getSizeX(); ++x)
                        img.setValue(patternValue(facts, linearIndex(img, x, y, z, c, t)), x, y, z,
                                     c, t);
}

inline void PrintTo(const TypeFacts& facts, std::ostream* os) {
    *os << facts.name;
}
inline void PrintTo(const GeometryCase& geometry, std::ostream* os) {
    *os << geometry.name;
}

inline std::string paramName(const TypeFacts& facts, const GeometryCase& geometry) {
    return std::string(facts.name) + "_" + geometry.name;
}

}  // namespace vimra::image::test
