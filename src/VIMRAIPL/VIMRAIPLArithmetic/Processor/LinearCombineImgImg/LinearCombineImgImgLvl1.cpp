#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(LinearCombineImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr linearCombineImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float factor1,
                             float factor2) {
    return entry::runCreating<LinearCombineImgImgLvl1>(inImg1, inImg2, factor1, factor2);
}
void linearCombineImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float factor1, float factor2,
                         const ImagePtr& outImg) {
    entry::runInto<LinearCombineImgImgLvl1>(inImg1, inImg2, factor1, factor2, outImg);
}
boost::shared_ptr<LinearCombineImgImgLvl1> linearCombineImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2, float factor1,
                                                                     float factor2) {
    return entry::runAsync<LinearCombineImgImgLvl1>(inImg1, inImg2, factor1, factor2);
}
boost::shared_ptr<LinearCombineImgImgLvl1> linearCombineImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2, float factor1,
                                                                     float factor2, const ImagePtr& outImg) {
    return entry::runAsync<LinearCombineImgImgLvl1>(inImg1, inImg2, factor1, factor2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<LinearCombineImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
