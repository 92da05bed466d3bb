#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl1.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(Formula2dImgLvl1)

namespace vimra::imaproc::arithm {

using Formula2dImgEntry = entry::FormulaEntry<Formula2dImgLvl1>;

ImagePtr formula2dImg(const std::string& formula, const FormulaInOptImages& images) {
    return Formula2dImgEntry::create(formula, images);
}
void formula2dImg(const std::string& formula, const FormulaInOptImages& images,
                  const ImagePtr& outImg) {
    Formula2dImgEntry::into(formula, images, nullptr, outImg);
}
void formula2dImg(const std::string& formula, const FormulaInOptImages& images,
                  const boost::shared_ptr<const image::Border2dPolicy>& border,
                  const ImagePtr& outImg) {
    Formula2dImgEntry::into(formula, images, &border, outImg);
}
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images) {
    return Formula2dImgEntry::createAsync(formula, images);
}
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images,
                                                       const ImagePtr& outImg) {
    return Formula2dImgEntry::intoAsync(formula, images, nullptr, outImg);
}
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(
    const std::string& formula, const FormulaInOptImages& images,
    const boost::shared_ptr<const image::Border2dPolicy>& border, const ImagePtr& outImg) {
    return Formula2dImgEntry::intoAsync(formula, images, &border, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<Formula2dImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
