#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl2.h>

#include <utility>

namespace vimra::imaproc::arithm {

class PolarToCartesianImgLvl1 final : public PixelwiseLvl1<PolarToCartesianImgLvl1, PolarToCartesianImgOperation, PolarToCartesianImgLvl2> {};

/// (x, y) of the vector field (inRhoImg, inThetaImg), as two new float images.
std::pair<ImagePtr, ImagePtr> polarToCartesianImg(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg);
/// (x, y) of the vector field (inRhoImg, inThetaImg) into outXImg and outYImg (float images of the inputs' size).
void polarToCartesianImg(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg, const ImagePtr& outXImg, const ImagePtr& outYImg);
boost::shared_ptr<PolarToCartesianImgLvl1> polarToCartesianImg_async(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg);
boost::shared_ptr<PolarToCartesianImgLvl1> polarToCartesianImg_async(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg, const ImagePtr& outXImg, const ImagePtr& outYImg);
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<PolarToCartesianImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
