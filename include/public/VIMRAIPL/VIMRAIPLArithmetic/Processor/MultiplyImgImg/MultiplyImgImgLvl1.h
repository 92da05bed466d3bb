#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class MultiplyImgImgLvl1 final : public PixelwiseLvl1<MultiplyImgImgLvl1, MultiplyImgImgOperation, MultiplyImgImgLvl2> {};

/// inImg1 * inImg2 into a new image of the promoted type.
ImagePtr multiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// inImg1 * inImg2 into outImg (same size; any buffer type).
void multiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<MultiplyImgImgLvl1> multiplyImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<MultiplyImgImgLvl1> multiplyImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg);
/// The output of a run started by multiplyImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MultiplyImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
