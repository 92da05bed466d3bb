#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {

namespace {
const ClassRegistration<AbsImgLvl1> registration;
}  // namespace

ImagePtr absImg(const ConstImagePtr& inImg) { return entry::runCreating<AbsImgLvl1>(inImg); }
void absImg(const ConstImagePtr& inImg, const ImagePtr& outImg) { entry::runInto<AbsImgLvl1>(outImg, inImg); }
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg) {
    return entry::runAsync<AbsImgLvl1>({}, inImg);
}
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg, const ImagePtr& outImg) {
    return entry::runAsync<AbsImgLvl1>(outImg, inImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AbsImgLvl1>& processor) {
    return processor->getStorage<attr::OutImg>();
}

}  // namespace vimra::imaproc::arithm
