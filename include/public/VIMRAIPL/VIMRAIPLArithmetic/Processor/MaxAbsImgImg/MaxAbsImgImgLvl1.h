#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class MaxAbsImgImgLvl1 final : public PixelwiseLvl1<MaxAbsImgImgLvl1, MaxAbsImgImgOperation, MaxAbsImgImgLvl2> {};

/// max(|inImg1|, |inImg2|) into a new image of the promoted type.
ImagePtr maxAbsImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// max(|inImg1|, |inImg2|) into outImg (same size; any buffer type).
void maxAbsImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<MaxAbsImgImgLvl1> maxAbsImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<MaxAbsImgImgLvl1> maxAbsImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg);
/// The output of a run started by maxAbsImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MaxAbsImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
