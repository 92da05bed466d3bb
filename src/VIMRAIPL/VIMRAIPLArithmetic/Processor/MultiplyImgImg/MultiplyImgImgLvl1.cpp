#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MultiplyImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr multiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<MultiplyImgImgLvl1>(inImg1, inImg2);
}
void multiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<MultiplyImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<MultiplyImgImgLvl1> multiplyImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<MultiplyImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<MultiplyImgImgLvl1> multiplyImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<MultiplyImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MultiplyImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
