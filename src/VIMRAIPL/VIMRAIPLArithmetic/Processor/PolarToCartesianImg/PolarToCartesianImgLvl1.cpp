#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(PolarToCartesianImgLvl1)

namespace vimra::imaproc::arithm {

std::pair<ImagePtr, ImagePtr> polarToCartesianImg(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg) {
    return entry::runCreating<PolarToCartesianImgLvl1>(inRhoImg, inThetaImg);
}
void polarToCartesianImg(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg, const ImagePtr& outXImg, const ImagePtr& outYImg) {
    entry::runInto<PolarToCartesianImgLvl1>(inRhoImg, inThetaImg, outXImg, outYImg);
}
boost::shared_ptr<PolarToCartesianImgLvl1> polarToCartesianImg_async(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg) {
    return entry::runAsync<PolarToCartesianImgLvl1>(inRhoImg, inThetaImg);
}
boost::shared_ptr<PolarToCartesianImgLvl1> polarToCartesianImg_async(const ConstImagePtr& inRhoImg, const ConstImagePtr& inThetaImg, const ImagePtr& outXImg, const ImagePtr& outYImg) {
    return entry::runAsync<PolarToCartesianImgLvl1>(inRhoImg, inThetaImg, outXImg, outYImg);
}
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<PolarToCartesianImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
