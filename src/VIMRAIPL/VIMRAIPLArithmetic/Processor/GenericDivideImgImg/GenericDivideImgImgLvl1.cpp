#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericDivideImgImg/GenericDivideImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(GenericDivideImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr genericDivideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<GenericDivideImgImgLvl1>(inImg1, inImg2);
}
void genericDivideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                         const ImagePtr& outImg) {
    entry::runInto<GenericDivideImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<GenericDivideImgImgLvl1> genericDivideImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2) {
    return entry::runAsync<GenericDivideImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<GenericDivideImgImgLvl1> genericDivideImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2,
                                                                     const ImagePtr& outImg) {
    return entry::runAsync<GenericDivideImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericDivideImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
