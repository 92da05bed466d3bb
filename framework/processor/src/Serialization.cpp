// Serialisation of attributes and of processor class versions.
//
// Each attribute that has state is one section named by the attribute's name:
//   value attributes:  "set" (bool), then, when set, their value
//                      ("value", or "min" and "max" for a Range);
//   image attributes:  "set" (bool), then, when an image is held, its
//                      description (the pixels are not archived).
// Strip attributes and other attributes without a serialised state write nothing.

#include <vimra/core/Archive.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/Log.h>
#include <vimra/image/BaseImage.h>
#include <vimra/processor/Attribute.h>
#include <vimra/processor/FormulaAttribute.h>
#include <vimra/processor/ProcessorClass.h>

#include <cmath>
#include <limits>
#include <string>

namespace vimra::processor {

namespace {

template <class... Args>
[[noreturn]] void fail(core::eSerializationMessage::domain id, const char* context,
                       const Args&... args) {
    throw core::SerializationException(core::formatMessage(id, args...), context);
}

constexpr const char* s_readContext = "vimra::processor::BaseAttribute::read";

image::eImageBufferType::domain readBufferType(core::BaseIArchive& archive, const char* item,
                                               const char* attribute) {
    const std::uint64_t value = archive.readUnsigned(item);
    if (value > static_cast<std::uint64_t>(image::eImageBufferType::s_last) ||
        !image::isValidBufferType(static_cast<int>(value)))
        fail(core::eSerializationMessage::eInvalidBufferType, s_readContext, attribute, value);
    return static_cast<image::eImageBufferType::domain>(value);
}

// A geometry type item: 0 for the one-plane/grey/single kind, 1 for the other.
bool readGeometryKind(core::BaseIArchive& archive, const char* item, const char* attribute) {
    const std::uint64_t value = archive.readUnsigned(item);
    if (value > 1)
        fail(core::eSerializationMessage::eValueOutOfRange, s_readContext, attribute,
             std::string(item) + " " + std::to_string(value), "geometry type (0 or 1)");
    return value == 1;
}

// The size of a dimension whose geometry kind is the single-plane one must be 1.
std::uint64_t readDimension(core::BaseIArchive& archive, const char* item, bool multiple,
                            const char* singleKind, const char* attribute) {
    const std::uint64_t size = archive.readUnsigned(item);
    if (!multiple && size != 1)
        fail(core::eSerializationMessage::eValueOutOfRange, s_readContext, attribute,
             std::string(item) + " " + std::to_string(size), singleKind);
    return size;
}

void writeValue(core::BaseOArchive& archive, double value) {
    archive.writeDouble("value", value);
}
void writeValue(core::BaseOArchive& archive, float value) {
    archive.writeDouble("value", value);
}
void writeValue(core::BaseOArchive& archive, const Range& value) {
    archive.writeDouble("min", value.Min);
    archive.writeDouble("max", value.Max);
}
void writeValue(core::BaseOArchive& archive, image::eImageBufferType::domain value) {
    archive.writeUnsigned("value", static_cast<std::uint64_t>(value));
}

void writeValue(core::BaseOArchive& archive, const image::BorderPolicy& value) {
    archive.writeUnsigned("type", static_cast<std::uint64_t>(value.getType()));
    archive.writeDouble("constant", value.getConstant());
}

void readValue(core::BaseIArchive& archive, image::BorderPolicy& value, const char* attribute) {
    const std::uint64_t type = archive.readUnsigned("type");
    const double constant = archive.readDouble("constant");
    switch (type) {
        case image::eBorderPolicyType::eConstant: value = image::BorderPolicy::constant(constant); return;
        case image::eBorderPolicyType::eNearest: value = image::BorderPolicy::nearest(); return;
        case image::eBorderPolicyType::eMirror: value = image::BorderPolicy::mirror(); return;
        case image::eBorderPolicyType::eMirrorEdge: value = image::BorderPolicy::mirrorEdge(); return;
        case image::eBorderPolicyType::ePeriodic: value = image::BorderPolicy::periodic(); return;
        default:
            fail(core::eSerializationMessage::eValueOutOfRange, s_readContext, attribute,
                 "type " + std::to_string(type), "border policy");
    }
}

void readValue(core::BaseIArchive& archive, double& value, const char*) {
    value = archive.readDouble("value");
}
void readValue(core::BaseIArchive& archive, float& value, const char* attribute) {
    const double d = archive.readDouble("value");
    if (std::isfinite(d) && std::fabs(d) > static_cast<double>(std::numeric_limits<float>::max()))
        fail(core::eSerializationMessage::eValueOutOfRange, s_readContext, attribute, d, "float");
    value = static_cast<float>(d);
}
void readValue(core::BaseIArchive& archive, Range& value, const char*) {
    value.Min = archive.readDouble("min");
    value.Max = archive.readDouble("max");
}
void readValue(core::BaseIArchive& archive, image::eImageBufferType::domain& value,
               const char* attribute) {
    value = readBufferType(archive, "value", attribute);
}

}  // namespace

void throwNewerClassVersion(const std::string& className, std::uint64_t found, unsigned supported) {
    const std::string text = core::formatMessage(core::eSerializationMessage::eNewerClassVersion,
                                                 className, found, supported);
    const log4cplus::Logger& logger = core::getSerializationLogger();
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
        logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, text);
    throw core::SerializationException(text, "vimra::processor::ProcessorClass::read");
}

void BaseAttribute::write(core::BaseOArchive&) const {}
void BaseAttribute::read(core::BaseIArchive&) {}

void BaseImageAttribute::write(core::BaseOArchive& archive) const {
    archive.beginSection(getName());
    const image::BaseImage* img = getImage();
    archive.writeBool("set", img != nullptr);
    if (img) {
        const image::ImageDescription& d = img->getDescription();
        archive.writeUnsigned("bufferType", static_cast<std::uint64_t>(d.bufferType));
        archive.writeUnsigned("sizeX", d.sizeX);
        archive.writeUnsigned("sizeY", d.sizeY);
        archive.writeUnsigned("volumeGeometry", static_cast<std::uint64_t>(d.volume.getType()));
        archive.writeUnsigned("sizeZ", d.volume.getSizeZ());
        archive.writeUnsigned("colorGeometry", static_cast<std::uint64_t>(d.color.getType()));
        archive.writeUnsigned("sizeC", d.color.getSizeC());
        archive.writeUnsigned("temporalGeometry", static_cast<std::uint64_t>(d.temporal.getType()));
        archive.writeUnsigned("sizeT", d.temporal.getSizeT());
    }
    archive.endSection();
}

// The image itself is the caller's to supply: reading checks the archived
// description and leaves the attribute's current image as it is.
void BaseImageAttribute::read(core::BaseIArchive& archive) {
    const char* name = getName();
    archive.beginSection(name);
    if (archive.readBool("set")) {
        image::ImageDescription d;
        d.bufferType = readBufferType(archive, "bufferType", name);
        d.sizeX = archive.readUnsigned("sizeX");
        d.sizeY = archive.readUnsigned("sizeY");
        const bool is3d = readGeometryKind(archive, "volumeGeometry", name);
        const std::uint64_t z = readDimension(archive, "sizeZ", is3d, "2d image", name);
        d.volume = is3d ? image::VolumeGeometry::make3d(z) : image::VolumeGeometry::make2d();
        const bool multiChannel = readGeometryKind(archive, "colorGeometry", name);
        const std::uint64_t c = readDimension(archive, "sizeC", multiChannel, "grey image", name);
        d.color =
            multiChannel ? image::ColorGeometry::multiChannel(c) : image::ColorGeometry::grey();
        const bool sequence = readGeometryKind(archive, "temporalGeometry", name);
        const std::uint64_t t = readDimension(archive, "sizeT", sequence, "single image", name);
        d.temporal =
            sequence ? image::TemporalGeometry::sequence(t) : image::TemporalGeometry::single();
        try {
            image::checkDescription(d);
        } catch (const image::ImageException& e) {
            fail(core::eSerializationMessage::eInvalidImageDescription, s_readContext, name,
                 e.what());
        }
    }
    archive.endSection();
}

template <class T>
void BaseValueAttribute<T>::write(core::BaseOArchive& archive) const {
    archive.beginSection(getName());
    archive.writeBool("set", m_set);
    if (m_set) writeValue(archive, m_value);
    archive.endSection();
}

template <class T>
void BaseValueAttribute<T>::read(core::BaseIArchive& archive) {
    archive.beginSection(getName());
    if (archive.readBool("set")) {
        T value{};
        readValue(archive, value, getName());
        setValue(value);
    } else {
        clear();
    }
    archive.endSection();
}

template void BaseValueAttribute<double>::write(core::BaseOArchive&) const;
template void BaseValueAttribute<double>::read(core::BaseIArchive&);
template void BaseValueAttribute<float>::write(core::BaseOArchive&) const;
template void BaseValueAttribute<float>::read(core::BaseIArchive&);
template void BaseValueAttribute<Range>::write(core::BaseOArchive&) const;
template void BaseValueAttribute<Range>::read(core::BaseIArchive&);
template void BaseValueAttribute<image::eImageBufferType::domain>::write(core::BaseOArchive&) const;
template void BaseValueAttribute<image::eImageBufferType::domain>::read(core::BaseIArchive&);
template void BaseValueAttribute<image::BorderPolicy>::write(core::BaseOArchive&) const;
template void BaseValueAttribute<image::BorderPolicy>::read(core::BaseIArchive&);

template <class F>
void BaseProcessorFormulaAttribute<F>::write(core::BaseOArchive& archive) const {
    archive.beginSection(getName());
    archive.writeBool("set", isSet());
    if (isSet()) archive.writeString("value", getValue());
    archive.endSection();
}

template <class F>
void BaseProcessorFormulaAttribute<F>::read(core::BaseIArchive& archive) {
    archive.beginSection(getName());
    if (archive.readBool("set"))
        setValue(archive.readString("value"));
    else
        clear();
    archive.endSection();
}

template class BaseProcessorFormulaAttribute<formula::ImageFormula2dAttribute>;
template class BaseProcessorFormulaAttribute<formula::ImageFormula3dAttribute>;

}  // namespace vimra::processor
