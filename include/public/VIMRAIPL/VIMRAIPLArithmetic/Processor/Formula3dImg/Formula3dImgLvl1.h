#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl2.h>

namespace vimra::imaproc::arithm {

class Formula3dImgLvl1 final
    : public PixelwiseLvl1<Formula3dImgLvl1, Formula3dImgOperation, Formula3dImgLvl2> {};

/// The formula over the images set, into a new image: float for a numeric
/// result, binary for a logical one, of the size of the first image it reads.
ImagePtr formula3dImg(const std::string& formula, const FormulaInOptImages& images);
/// Into outImg (same size as the images; any buffer type).
void formula3dImg(const std::string& formula, const FormulaInOptImages& images,
                  const ImagePtr& outImg);
/// Into outImg, reading outside the images by `border` (mirror when not given).
void formula3dImg(const std::string& formula, const FormulaInOptImages& images,
                  const boost::shared_ptr<const image::Border3dPolicy>& border,
                  const ImagePtr& outImg);
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images);
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(const std::string& formula,
                                                       const FormulaInOptImages& images,
                                                       const ImagePtr& outImg);
boost::shared_ptr<Formula3dImgLvl1> formula3dImg_async(
    const std::string& formula, const FormulaInOptImages& images,
    const boost::shared_ptr<const image::Border3dPolicy>& border, const ImagePtr& outImg);
/// The output of a run started by formula3dImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<Formula3dImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
