#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(BlendImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr blendImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float multiplier) {
    return entry::runCreating<BlendImgImgLvl1>(inImg1, inImg2, multiplier);
}
void blendImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float multiplier,
                 const ImagePtr& outImg) {
    entry::runInto<BlendImgImgLvl1>(inImg1, inImg2, multiplier, outImg);
}
boost::shared_ptr<BlendImgImgLvl1> blendImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                     float multiplier) {
    return entry::runAsync<BlendImgImgLvl1>(inImg1, inImg2, multiplier);
}
boost::shared_ptr<BlendImgImgLvl1> blendImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                     float multiplier, const ImagePtr& outImg) {
    return entry::runAsync<BlendImgImgLvl1>(inImg1, inImg2, multiplier, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<BlendImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
