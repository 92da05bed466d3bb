#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(AbsImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr absImg(const ConstImagePtr& inImg) { return entry::runCreating<AbsImgLvl1>(inImg); }
void absImg(const ConstImagePtr& inImg, const ImagePtr& outImg) { entry::runInto<AbsImgLvl1>(inImg, outImg); }
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg) {
    return entry::runAsync<AbsImgLvl1>(inImg);
}
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg, const ImagePtr& outImg) {
    return entry::runAsync<AbsImgLvl1>(inImg, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AbsImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
