#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl1.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(Formula3dImgLvl1)

namespace vimra::imaproc::arithm {

using Formula3dImgEntry = entry::FormulaEntry<Formula3dImgLvl1>;

ImagePtr formula3dImg(const std::string& formula, const FormulaInOptImages& images) {
    return Formula3dImgEntry::create(formula, images);
}
void formula3dImg(const std::string& formula, const FormulaInOptImages& images,
                  const ImagePtr& outImg) {
    Formula3dImgEntry::into(formula, images, nullptr, outImg);
}
void formula3dImg(const std::string& formula, const FormulaInOptImages& images,
                  const boost::shared_ptr<const image::Border3dPolicy>& border,
                  const ImagePtr& outImg) {
    Formula3dImgEntry::into(formula, images, &border, outImg);
}
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images) {
    return Formula3dImgEntry::createAsync(formula, images);
}
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images,
                                                       const ImagePtr& outImg) {
    return Formula3dImgEntry::intoAsync(formula, images, nullptr, outImg);
}
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(
    const std::string& formula, const FormulaInOptImages& images,
    const boost::shared_ptr<const image::Border3dPolicy>& border, const ImagePtr& outImg) {
    return Formula3dImgEntry::intoAsync(formula, images, &border, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<Formula3dImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
