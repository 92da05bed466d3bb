#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericMultiplyImgImg/GenericMultiplyImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(GenericMultiplyImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr genericMultiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<GenericMultiplyImgImgLvl1>(inImg1, inImg2);
}
void genericMultiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                           const ImagePtr& outImg) {
    entry::runInto<GenericMultiplyImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<GenericMultiplyImgImgLvl1> genericMultiplyImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<GenericMultiplyImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<GenericMultiplyImgImgLvl1> genericMultiplyImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    return entry::runAsync<GenericMultiplyImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericMultiplyImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
