#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GenericLevels.h>

#include <vimra/core/LogMessageFormater.h>

#include <boost/make_shared.hpp>

namespace vimra::imaproc::arithm::detail {

namespace {

using image::BaseImage;
using processor::BoolResult;
using processor::ImageAttributeRef;
using processor::RulePtr;

/// "3d grey sequence": the geometry kind of an image, as the refusals name it.
std::string geometryName(const BaseImage& img) {
    std::string s = img.getVolumeGeometryType() == image::eVolumeGeometryType::e3d ? "3d" : "2d";
    s += img.getColorGeometryType() == image::eColorGeometryType::eMultiChannel ? " colour"
                                                                                : " grey";
    s += img.getTemporalGeometryType() == image::eTemporalGeometryType::eSequence ? " sequence"
                                                                                  : " image";
    return s;
}

/// Stands where the geometry branches of the rule reach a second image that no
/// level 2 serves: fails, naming its geometry and the ones that are served.
class UnlistedGeometryRule final : public processor::BaseRule {
  public:
    explicit UnlistedGeometryRule(ImageAttributeRef image) : m_image(std::move(image)) {}
    BoolResult check() const override {
        auto a = m_image.lock();
        if (!a) return BoolResult::failure("listedGeometry: the attribute has expired");
        const BaseImage* img = a->getImage();
        if (!img) return BoolResult::failure(std::string(a->getName()) + " holds no image");
        return BoolResult::failure(
            std::string(a->getName()) + " (" + img->getDescription().toString() + ") is a " +
            geometryName(*img) +
            "; the second image must be a 2d grey image, a 2d colour image, a 2d grey "
            "sequence, a 3d grey image or a 3d colour image");
    }
    std::string describe() const override {
        auto a = m_image.lock();
        return std::string("listedGeometry(") + (a ? a->getName() : "<expired>") + ")";
    }

  private:
    ImageAttributeRef m_image;
};

}  // namespace

RulePtr genericImgImgRule(ImageAttributeRef in1, ImageAttributeRef in2, ImageAttributeRef out) {
    using Mode = processor::eSizeMatchMode;
    using namespace processor;
    const auto match = [&](Mode::domain mode) { return matchSize({in1, in2}, mode); };
    const RulePtr unlisted = boost::make_shared<UnlistedGeometryRule>(in2);
    const RulePtr plane =
        ifRule(isSequence(in2), ifRule(isGrey(in2), match(Mode::ePlaneSequence), unlisted),
               ifRule(isGrey(in2), match(Mode::ePlane), match(Mode::eColorPlane)));
    const RulePtr volume =
        ifRule(isSingle(in2), ifRule(isGrey(in2), match(Mode::eVolume), match(Mode::eColorVolume)),
               unlisted);
    return andRule(ifRule(is2d(in2), plane, volume), matchSize({out, in1}));
}

ProcessingResult<bool> unlistedGeometry(const BaseImage& in2) {
    return ProcessingResult<bool>::failure(core::formatMessage(
        eProcessorMessage::eEnumerateValueNotSupported, geometryName(in2) + " of InImg2"));
}

}  // namespace vimra::imaproc::arithm::detail
