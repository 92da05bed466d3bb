#include <vimra/processor/OutputInitializer.h>
#include <vimra/processor/ProcessingException.h>
#include <vimra/processor/ProcessorMessages.h>

#include <vimra/core/Log.h>

#include <boost/format.hpp>

namespace vimra::processor {

namespace {

using image::Image;
using image::ImageDescription;

BoolResult expired(const char* what) {
    return BoolResult::failure(std::string("output initialiser: the ") + what + " attribute has expired");
}

/// Allocates the output described by `desc` into the output attribute.
BoolResult allocate(const OutputImageRef& ref, const ImageDescription& desc) {
    auto out = ref.lock();
    if (!out) return expired("output");
    out->setValue(Image::create(desc, Image::eInit::eUninitialized));
    return BoolResult::success();
}

/// The input's image, or a failure naming the missing attribute.
ProcessingResult<const image::BaseImage*> inputImage(const InputImageRef& ref) {
    auto in = ref.lock();
    if (!in) return ProcessingResult<const image::BaseImage*>::failure("output initialiser: input attribute has expired");
    if (!in->getImage())
        return ProcessingResult<const image::BaseImage*>::failure(
            (boost::format("output initialiser: input %s holds no image") % in->getName()).str());
    return ProcessingResult<const image::BaseImage*>::success(in->getImage());
}

}  // namespace

BoolResult PromoteUnaryImageInitializer::init() {
    auto in = inputImage(m_in);
    if (!in) return in.toBoolResult();
    ImageDescription desc = in.getValue()->getDescription();
    desc.bufferType = promoteUnary(m_rule, desc.bufferType);
    return allocate(m_out, desc);
}

BoolResult PromoteBinaryImageInitializer::init() {
    auto in1 = inputImage(m_in1);
    if (!in1) return in1.toBoolResult();
    auto in2 = inputImage(m_in2);
    if (!in2) return in2.toBoolResult();
    const image::BaseImage* geometry = in1.getValue();
    if (m_largerGeometry && in2.getValue()->getPlaneCount() > geometry->getPlaneCount()) geometry = in2.getValue();
    ImageDescription desc = geometry->getDescription();
    desc.bufferType = promoteBinary(m_rule, in1.getValue()->getBufferType(), in2.getValue()->getBufferType());
    return allocate(m_out, desc);
}

BoolResult DuplicateImageInitializer::init() {
    auto in = inputImage(m_in);
    if (!in) return in.toBoolResult();
    ImageDescription desc = in.getValue()->getDescription();
    if (m_fixedType) desc.bufferType = m_type;
    return allocate(m_out, desc);
}

BoolResult TypedDuplicateImageInitializer::init() {
    auto in = inputImage(m_in);
    if (!in) return in.toBoolResult();
    auto type = m_type.lock();
    if (!type) return expired("buffer type");
    if (!type->isSet()) return BoolResult::failure("output initialiser: the output buffer type is not set");
    if (!image::isValidBufferType(type->getValue()))
        return BoolResult::failure((boost::format("output initialiser: invalid output buffer type %d") %
                                    static_cast<int>(type->getValue()))
                                       .str());
    ImageDescription desc = in.getValue()->getDescription();
    desc.bufferType = type->getValue();
    return allocate(m_out, desc);
}

ProcessingResult<ImageDescription> BaseCustomImageInfo::computeDescription() const {
    ImageDescription desc;
    desc.bufferType = getImageBufferType();
    desc.sizeX = getSizeX();
    desc.sizeY = getSizeY();
    desc.volume = getVolumeGeometry();
    desc.color = getColorGeometry();
    desc.temporal = getTemporalGeometry();
    return ProcessingResult<ImageDescription>::success(desc);
}

void BaseCustomImageInfo::checkInitialized(const char* function) const {
    if (m_initialized) return;
    core::logMessage(getBaseProcessingLogger(), log4cplus::ERROR_LOG_LEVEL,
                     eBaseProcessingMessage::eCustomImageInfoNotInitialized, function);
    throw VIMRAImageProcessingException(
        core::formatMessage(eBaseProcessingMessage::eCustomImageInfoNotInitialized, function), function);
}

void BaseCustomImageInfo::throwExpiredAttribute(const char* function) {
    throw VIMRABaseProcessingException(core::formatMessage(eBaseProcessingMessage::eAttributeExpired, function),
                                       function);
}

BoolResult CustomImageInitializer::init() {
    if (!m_info) return BoolResult::failure("output initialiser: no custom image description");
    auto desc = m_info->computeDescription();
    if (!desc) return desc.toBoolResult();
    return allocate(m_out, desc.getValue());
}

}  // namespace vimra::processor
