#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm::detail {

const char* levelSuffix(eLevel level) {
    switch (level) {
        case eLevel::eLvl1: return "Lvl1";
        case eLevel::eLvl2: return "Lvl2";
        case eLevel::eLvl3: return "Lvl3";
        case eLevel::eGpuLvl3: return "GpuLvl3";
    }
    return "";
}

BoolResult refuseGpuImages(const processor::BaseProcessor& level, const char* why) {
    for (const processor::AttributePtr& a : level.getAttributeColl()) {
        const auto* images = dynamic_cast<const processor::BaseImageAttribute*>(a.get());
        const image::BaseImage* img = images ? images->getImage() : nullptr;
        if (img && img->isGpuImage())
            return BoolResult::failure(level.getClassName() + " " + why + ": " + a->getName() +
                                       " is a GPU image; nothing is copied between host and device, so upload "
                                       "or download the images first");
    }
    return BoolResult::success();
}

}  // namespace vimra::imaproc::arithm::detail

#include <vimra/core/LogMessageFormater.h>
#include <vimra/processor/ProcessorMessages.h>

namespace vimra::imaproc::arithm::detail {

BoolResult noKernelFailure(const std::string& typeName, const processor::DataTypeIdentifierColl& types) {
    return BoolResult::failure(
        core::formatMessage(processor::eBaseProcessingMessage::eNoKernel, typeName, types.toString()));
}

}  // namespace vimra::imaproc::arithm::detail

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

namespace vimra::imaproc::arithm::entry {

void throwNullArgument(CallerName caller, const char* attribute) {
    const std::string& name = caller();
    throw processor::VIMRABaseProcessingException(
        core::formatMessage(processor::eBaseProcessingMessage::eNullArgument, name, attribute), name);
}

processor::Range Argument<attr::InOutputRange>::convert(const type& value, CallerName caller) {
    if (!value) throwNullArgument(caller, attr::InOutputRange::s_name);
    return *value;
}

}  // namespace vimra::imaproc::arithm::entry
