#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericAddImgImg/GenericAddImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(GenericAddImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr genericAddImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<GenericAddImgImgLvl1>(inImg1, inImg2);
}
void genericAddImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                      const ImagePtr& outImg) {
    entry::runInto<GenericAddImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<GenericAddImgImgLvl1> genericAddImgImg_async(const ConstImagePtr& inImg1,
                                                               const ConstImagePtr& inImg2) {
    return entry::runAsync<GenericAddImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<GenericAddImgImgLvl1> genericAddImgImg_async(const ConstImagePtr& inImg1,
                                                               const ConstImagePtr& inImg2,
                                                               const ImagePtr& outImg) {
    return entry::runAsync<GenericAddImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericAddImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
