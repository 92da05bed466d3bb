#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(SubtractImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<SubtractImgImgLvl1>(inImg1, inImg2);
}
void subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<SubtractImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<SubtractImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<SubtractImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<SubtractImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
