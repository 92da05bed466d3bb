#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(DivideImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<DivideImgImgLvl1>(inImg1, inImg2);
}
void divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<DivideImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<DivideImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<DivideImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<DivideImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
