#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl2.h>

#include <utility>

namespace vimra::imaproc::arithm {

class ComplexMultiplyImgImgLvl1 final
    : public PixelwiseLvl1<ComplexMultiplyImgImgLvl1, ComplexMultiplyImgImgOperation, ComplexMultiplyImgImgLvl2> {};

/// (re1 + i im1)(re2 + i im2) into two new float images: (real part, imaginary part).
std::pair<ImagePtr, ImagePtr> complexMultiplyImgImg(const ConstImagePtr& inReal1, const ConstImagePtr& inImag1,
                                                    const ConstImagePtr& inReal2, const ConstImagePtr& inImag2);
/// The same into outReal and outImag (one buffer type for both; same size as the inputs).
void complexMultiplyImgImg(const ConstImagePtr& inReal1, const ConstImagePtr& inImag1, const ConstImagePtr& inReal2,
                           const ConstImagePtr& inImag2, const ImagePtr& outReal, const ImagePtr& outImag);
boost::shared_ptr<ComplexMultiplyImgImgLvl1> complexMultiplyImgImg_async(const ConstImagePtr& inReal1,
                                                                         const ConstImagePtr& inImag1,
                                                                         const ConstImagePtr& inReal2,
                                                                         const ConstImagePtr& inImag2);
boost::shared_ptr<ComplexMultiplyImgImgLvl1> complexMultiplyImgImg_async(
    const ConstImagePtr& inReal1, const ConstImagePtr& inImag1, const ConstImagePtr& inReal2,
    const ConstImagePtr& inImag2, const ImagePtr& outReal, const ImagePtr& outImag);
/// The (real, imaginary) outputs of a run started by complexMultiplyImgImg_async, once it has finished.
std::pair<ImagePtr, ImagePtr> getAsyncProcessorOutput(const boost::shared_ptr<ComplexMultiplyImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
