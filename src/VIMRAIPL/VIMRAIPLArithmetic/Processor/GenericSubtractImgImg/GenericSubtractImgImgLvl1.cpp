#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericSubtractImgImg/GenericSubtractImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(GenericSubtractImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr genericSubtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<GenericSubtractImgImgLvl1>(inImg1, inImg2);
}
void genericSubtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                           const ImagePtr& outImg) {
    entry::runInto<GenericSubtractImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<GenericSubtractImgImgLvl1> genericSubtractImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<GenericSubtractImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<GenericSubtractImgImgLvl1> genericSubtractImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    return entry::runAsync<GenericSubtractImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericSubtractImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
