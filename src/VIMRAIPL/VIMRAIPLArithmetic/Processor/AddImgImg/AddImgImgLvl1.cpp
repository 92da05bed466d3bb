#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {

namespace {
const ClassRegistration<AddImgImgLvl1> registration;
}  // namespace

ImagePtr addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<AddImgImgLvl1>(inImg1, inImg2);
}
void addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<AddImgImgLvl1>(outImg, inImg1, inImg2);
}
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<AddImgImgLvl1>({}, inImg1, inImg2);
}
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<AddImgImgLvl1>(outImg, inImg1, inImg2);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AddImgImgLvl1>& processor) {
    return processor->getStorage<attr::OutImg>();
}

}  // namespace vimra::imaproc::arithm
