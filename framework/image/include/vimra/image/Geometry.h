#pragma once

#include <cstdint>
#include <string>

namespace vimra::image {

struct eVolumeGeometryType {
    enum domain : std::uint8_t { e2d = 0, e3d = 1 };
};
struct eColorGeometryType {
    enum domain : std::uint8_t { eGrey = 0, eMultiChannel = 1 };
};
struct eTemporalGeometryType {
    enum domain : std::uint8_t { eSingle = 0, eSequence = 1 };
};

/// 2d (one plane) or 3d (sizeZ planes).
class VolumeGeometry {
  public:
    VolumeGeometry() = default;
    static VolumeGeometry make2d() { return {}; }
    static VolumeGeometry make3d(std::uint64_t sizeZ) {
        return VolumeGeometry(eVolumeGeometryType::e3d, sizeZ);
    }

    eVolumeGeometryType::domain getType() const { return m_type; }
    std::uint64_t getSizeZ() const { return m_sizeZ; }
    bool operator==(const VolumeGeometry&) const = default;

  private:
    VolumeGeometry(eVolumeGeometryType::domain type, std::uint64_t sizeZ)
        : m_type(type), m_sizeZ(sizeZ) {}
    eVolumeGeometryType::domain m_type = eVolumeGeometryType::e2d;
    std::uint64_t m_sizeZ = 1;
};

/// Grey (one channel) or multi-channel (sizeC channels, each a full volume).
class ColorGeometry {
  public:
    ColorGeometry() = default;
    static ColorGeometry grey() { return {}; }
    static ColorGeometry multiChannel(std::uint64_t sizeC) {
        return ColorGeometry(eColorGeometryType::eMultiChannel, sizeC);
    }

    eColorGeometryType::domain getType() const { return m_type; }
    std::uint64_t getSizeC() const { return m_sizeC; }
    bool operator==(const ColorGeometry&) const = default;

  private:
    ColorGeometry(eColorGeometryType::domain type, std::uint64_t sizeC)
        : m_type(type), m_sizeC(sizeC) {}
    eColorGeometryType::domain m_type = eColorGeometryType::eGrey;
    std::uint64_t m_sizeC = 1;
};

/// Single image or a sequence of sizeT time steps.
class TemporalGeometry {
  public:
    TemporalGeometry() = default;
    static TemporalGeometry single() { return {}; }
    static TemporalGeometry sequence(std::uint64_t sizeT) {
        return TemporalGeometry(eTemporalGeometryType::eSequence, sizeT);
    }

    eTemporalGeometryType::domain getType() const { return m_type; }
    std::uint64_t getSizeT() const { return m_sizeT; }
    bool operator==(const TemporalGeometry&) const = default;

  private:
    TemporalGeometry(eTemporalGeometryType::domain type, std::uint64_t sizeT)
        : m_type(type), m_sizeT(sizeT) {}
    eTemporalGeometryType::domain m_type = eTemporalGeometryType::eSingle;
    std::uint64_t m_sizeT = 1;
};

}  // namespace vimra::image
