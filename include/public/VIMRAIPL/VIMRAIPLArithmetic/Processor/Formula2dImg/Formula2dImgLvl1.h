#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl2.h>

namespace vimra::imaproc::arithm {

class Formula2dImgLvl1 final
    : public PixelwiseLvl1<Formula2dImgLvl1, Formula2dImgOperation, Formula2dImgLvl2> {};

/// The formula over the images set, into a new image: float for a numeric
/// result, binary for a logical one, of the size of the first image it reads.
ImagePtr formula2dImg(const std::string& formula, const FormulaInOptImages& images);
/// Into outImg (same size as the images; any buffer type).
void formula2dImg(const std::string& formula, const FormulaInOptImages& images,
                  const ImagePtr& outImg);
/// Into outImg, reading outside the images by `border` (mirror when not given).
void formula2dImg(const std::string& formula, const FormulaInOptImages& images,
                  const boost::shared_ptr<const image::Border2dPolicy>& border,
                  const ImagePtr& outImg);
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images);
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images,
                                                       const ImagePtr& outImg);
boost::shared_ptr<Formula2dImgLvl1> formula2dImg_async(
    const std::string& formula, const FormulaInOptImages& images,
    const boost::shared_ptr<const image::Border2dPolicy>& border, const ImagePtr& outImg);
/// The output of a run started by formula2dImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<Formula2dImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
