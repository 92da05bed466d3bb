#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl1.h>

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(ComplexMultiplyImgImgLvl1)

namespace vimra::imaproc::arithm {

std::pair<ImagePtr, ImagePtr> complexMultiplyImgImg(const ConstImagePtr& inReal1, const ConstImagePtr& inImag1,
                                                    const ConstImagePtr& inReal2, const ConstImagePtr& inImag2) {
    return entry::runCreating<ComplexMultiplyImgImgLvl1>(inReal1, inImag1, inReal2, inImag2);
}
void complexMultiplyImgImg(const ConstImagePtr& inReal1, const ConstImagePtr& inImag1, const ConstImagePtr& inReal2,
                           const ConstImagePtr& inImag2, const ImagePtr& outReal, const ImagePtr& outImag) {
    entry::runInto<ComplexMultiplyImgImgLvl1>(inReal1, inImag1, inReal2, inImag2, outReal, outImag);
}
boost::shared_ptr<ComplexMultiplyImgImgLvl1> complexMultiplyImgImg_async(const ConstImagePtr& inReal1,
                                                                         const ConstImagePtr& inImag1,
                                                                         const ConstImagePtr& inReal2,
                                                                         const ConstImagePtr& inImag2) {
    return entry::runAsync<ComplexMultiplyImgImgLvl1>(inReal1, inImag1, inReal2, inImag2);
}
boost::shared_ptr<ComplexMultiplyImgImgLvl1> complexMultiplyImgImg_async(
    const ConstImagePtr& inReal1, const ConstImagePtr& inImag1, const ConstImagePtr& inReal2,
    const ConstImagePtr& inImag2, const ImagePtr& outReal, const ImagePtr& outImag) {
    return entry::runAsync<ComplexMultiplyImgImgLvl1>(inReal1, inImag1, inReal2, inImag2, outReal, outImag);
}
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<ComplexMultiplyImgImgLvl1>& processor) {
    return entry::asyncOutput(processor);
}

}  // namespace vimra::imaproc::arithm
