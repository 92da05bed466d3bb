#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(CartesianToPolarImgLvl1)

namespace vimra::imaproc::arithm {

std::pair<ImagePtr, ImagePtr> cartesianToPolarImg(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg) {
    return entry::runCreating<CartesianToPolarImgLvl1>(inXImg, inYImg);
}
void cartesianToPolarImg(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg, const ImagePtr& outRhoImg, const ImagePtr& outThetaImg) {
    entry::runInto<CartesianToPolarImgLvl1>(inXImg, inYImg, outRhoImg, outThetaImg);
}
boost::shared_ptr<CartesianToPolarImgLvl1> cartesianToPolarImg_async(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg) {
    return entry::runAsync<CartesianToPolarImgLvl1>(inXImg, inYImg);
}
boost::shared_ptr<CartesianToPolarImgLvl1> cartesianToPolarImg_async(const ConstImagePtr& inXImg, const ConstImagePtr& inYImg, const ImagePtr& outRhoImg, const ImagePtr& outThetaImg) {
    return entry::runAsync<CartesianToPolarImgLvl1>(inXImg, inYImg, outRhoImg, outThetaImg);
}
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<CartesianToPolarImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
