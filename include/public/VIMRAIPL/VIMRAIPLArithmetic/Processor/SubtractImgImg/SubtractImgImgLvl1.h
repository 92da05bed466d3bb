#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class SubtractImgImgLvl1 final : public PixelwiseLvl1<SubtractImgImgLvl1, SubtractImgImgOperation, SubtractImgImgLvl2> {};

/// inImg1 - inImg2 into a new image of the promoted type.
ImagePtr subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// inImg1 - inImg2 into outImg (same size; any buffer type).
void subtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<SubtractImgImgLvl1> subtractImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg);
/// The output of a run started by subtractImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<SubtractImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
