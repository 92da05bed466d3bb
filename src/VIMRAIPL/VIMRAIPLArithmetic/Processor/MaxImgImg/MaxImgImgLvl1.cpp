#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MaxImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr maxImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<MaxImgImgLvl1>(inImg1, inImg2);
}
void maxImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<MaxImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<MaxImgImgLvl1> maxImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<MaxImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<MaxImgImgLvl1> maxImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg) {
    return entry::runAsync<MaxImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MaxImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
