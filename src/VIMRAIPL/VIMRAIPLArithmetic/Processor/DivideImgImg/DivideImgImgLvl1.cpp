#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {

namespace {
const ClassRegistration<DivideImgImgLvl1> registration;
}  // namespace

ImagePtr divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<DivideImgImgLvl1>(inImg1, inImg2);
}
void divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<DivideImgImgLvl1>(outImg, inImg1, inImg2);
}
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<DivideImgImgLvl1>({}, inImg1, inImg2);
}
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<DivideImgImgLvl1>(outImg, inImg1, inImg2);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<DivideImgImgLvl1>& processor) {
    return processor->getStorage<attr::OutImg>();
}

}  // namespace vimra::imaproc::arithm
