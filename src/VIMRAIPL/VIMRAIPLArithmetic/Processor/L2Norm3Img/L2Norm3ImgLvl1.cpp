#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L2Norm3ImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr l2Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3) { return entry::runCreating<L2Norm3ImgLvl1>(inImg1, inImg2, inImg3); }
void l2Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg) {
    entry::runInto<L2Norm3ImgLvl1>(inImg1, inImg2, inImg3, outImg);
}
boost::shared_ptr<L2Norm3ImgLvl1> l2Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3) {
    return entry::runAsync<L2Norm3ImgLvl1>(inImg1, inImg2, inImg3);
}
boost::shared_ptr<L2Norm3ImgLvl1> l2Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg) {
    return entry::runAsync<L2Norm3ImgLvl1>(inImg1, inImg2, inImg3, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L2Norm3ImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
