#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {

namespace {
const ClassRegistration<SubtractImgImgLvl1> registration;
}  // namespace

ImagePtr subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<SubtractImgImgLvl1>(inImg1, inImg2);
}
void subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<SubtractImgImgLvl1>(outImg, inImg1, inImg2);
}
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<SubtractImgImgLvl1>({}, inImg1, inImg2);
}
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<SubtractImgImgLvl1>(outImg, inImg1, inImg2);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<SubtractImgImgLvl1>& processor) {
    return processor->getStorage<attr::OutImg>();
}

}  // namespace vimra::imaproc::arithm
