#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl2.h>

namespace vimra::imaproc::arithm {

class L1Norm2ImgLvl1 final : public PixelwiseLvl1<L1Norm2ImgLvl1, L1Norm2ImgOperation, L1Norm2ImgLvl2> {};

/// |inImg1| + |inImg2| into a new image of the promoted type; the inputs share one pixel type.
ImagePtr l1Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// |inImg1| + |inImg2| into outImg (same size; any buffer type).
void l1Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<L1Norm2ImgLvl1> l1Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<L1Norm2ImgLvl1> l1Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L1Norm2ImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
