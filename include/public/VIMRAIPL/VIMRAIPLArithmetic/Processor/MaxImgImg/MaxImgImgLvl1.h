#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class MaxImgImgLvl1 final : public PixelwiseLvl1<MaxImgImgLvl1, MaxImgImgOperation, MaxImgImgLvl2> {};

/// the larger of inImg1 and inImg2 into a new image of the promoted type.
ImagePtr maxImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// the larger of inImg1 and inImg2 into outImg (same size; any buffer type).
void maxImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<MaxImgImgLvl1> maxImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<MaxImgImgLvl1> maxImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg);
/// The output of a run started by maxImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MaxImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
