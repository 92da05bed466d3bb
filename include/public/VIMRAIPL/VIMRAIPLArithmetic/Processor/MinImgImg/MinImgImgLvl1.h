#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class MinImgImgLvl1 final : public PixelwiseLvl1<MinImgImgLvl1, MinImgImgOperation, MinImgImgLvl2> {};

/// the smaller of inImg1 and inImg2 into a new image of the promoted type.
ImagePtr minImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// the smaller of inImg1 and inImg2 into outImg (same size; any buffer type).
void minImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<MinImgImgLvl1> minImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<MinImgImgLvl1> minImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                       const ImagePtr& outImg);
/// The output of a run started by minImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<MinImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
