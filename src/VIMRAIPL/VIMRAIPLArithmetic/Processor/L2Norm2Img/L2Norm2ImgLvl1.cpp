#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L2Norm2ImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr l2Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) { return entry::runCreating<L2Norm2ImgLvl1>(inImg1, inImg2); }
void l2Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<L2Norm2ImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<L2Norm2ImgLvl1> l2Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<L2Norm2ImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<L2Norm2ImgLvl1> l2Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    return entry::runAsync<L2Norm2ImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L2Norm2ImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
