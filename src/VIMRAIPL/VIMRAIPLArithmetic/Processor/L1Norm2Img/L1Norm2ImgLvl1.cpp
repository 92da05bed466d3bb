#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L1Norm2ImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr l1Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) { return entry::runCreating<L1Norm2ImgLvl1>(inImg1, inImg2); }
void l1Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<L1Norm2ImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<L1Norm2ImgLvl1> l1Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<L1Norm2ImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<L1Norm2ImgLvl1> l1Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    return entry::runAsync<L1Norm2ImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L1Norm2ImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
