#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl2.h>

#include <utility>

namespace vimra::imaproc::arithm {

class CartesianToPolarImgLvl1 final : public PixelwiseLvl1<CartesianToPolarImgLvl1, CartesianToPolarImgOperation, CartesianToPolarImgLvl2> {};

/// (rho, theta) of the vector field (inXImg, inYImg), as two new float images.
std::pair<ImagePtr, ImagePtr> cartesianToPolarImg(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg);
/// (rho, theta) of the vector field (inXImg, inYImg) into outRhoImg and outThetaImg (float images of the inputs' size).
void cartesianToPolarImg(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg, const ImagePtr& outRhoImg, const ImagePtr& outThetaImg);
boost::shared_ptr<CartesianToPolarImgLvl1> cartesianToPolarImg_async(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg);
boost::shared_ptr<CartesianToPolarImgLvl1> cartesianToPolarImg_async(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg, const ImagePtr& outRhoImg, const ImagePtr& outThetaImg);
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<CartesianToPolarImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
