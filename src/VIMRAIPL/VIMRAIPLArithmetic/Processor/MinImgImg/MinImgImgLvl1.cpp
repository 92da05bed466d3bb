#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MinImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr minImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<MinImgImgLvl1>(inImg1, inImg2);
}
void minImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<MinImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<MinImgImgLvl1> minImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<MinImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<MinImgImgLvl1> minImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg) {
    return entry::runAsync<MinImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MinImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
