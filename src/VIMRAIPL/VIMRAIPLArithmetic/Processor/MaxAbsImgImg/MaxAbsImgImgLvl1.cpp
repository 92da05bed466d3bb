#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MaxAbsImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr maxAbsImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<MaxAbsImgImgLvl1>(inImg1, inImg2);
}
void maxAbsImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<MaxAbsImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<MaxAbsImgImgLvl1> maxAbsImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<MaxAbsImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<MaxAbsImgImgLvl1> maxAbsImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg) {
    return entry::runAsync<MaxAbsImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MaxAbsImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
