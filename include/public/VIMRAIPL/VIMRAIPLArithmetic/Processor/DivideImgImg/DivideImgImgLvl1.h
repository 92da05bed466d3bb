#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class DivideImgImgLvl1 final : public PixelwiseLvl1<DivideImgImgLvl1, DivideImgImgOperation, DivideImgImgLvl2> {};

/// inImg1 / inImg2 (0 where inImg2 is 0) into a new image of the promoted type.
ImagePtr divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// inImg1 / inImg2 (0 where inImg2 is 0) into outImg (same size; any buffer type).
void divideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<DivideImgImgLvl1> divideImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg);
/// The output of a run started by divideImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<DivideImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
