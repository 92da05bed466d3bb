#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(AddImgImgLvl1)

namespace vimra::imaproc::arithm {

ImagePtr addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runCreating<AddImgImgLvl1>(inImg1, inImg2);
}
void addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg) {
    entry::runInto<AddImgImgLvl1>(inImg1, inImg2, outImg);
}
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2) {
    return entry::runAsync<AddImgImgLvl1>(inImg1, inImg2);
}
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg) {
    return entry::runAsync<AddImgImgLvl1>(inImg1, inImg2, outImg);
}
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AddImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
