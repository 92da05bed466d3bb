#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class LinearCombineImgImgLvl1 final
    : public PixelwiseLvl1<LinearCombineImgImgLvl1, LinearCombineImgImgOperation, LinearCombineImgImgLvl2> {};

/// inImg1 * factor1 + inImg2 * factor2 into a new image of the promoted type.
ImagePtr linearCombineImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float factor1,
                             float factor2);
/// The same into outImg (same size; any buffer type; integer outputs round and saturate).
void linearCombineImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float factor1, float factor2,
                         const ImagePtr& outImg);
boost::shared_ptr<LinearCombineImgImgLvl1> linearCombineImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2, float factor1,
                                                                     float factor2);
boost::shared_ptr<LinearCombineImgImgLvl1> linearCombineImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2, float factor1,
                                                                     float factor2, const ImagePtr& outImg);
/// The output of a run started by linearCombineImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<LinearCombineImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
