#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl2.h>

namespace vimra::imaproc::arithm {

class L2Norm2ImgLvl1 final : public PixelwiseLvl1<L2Norm2ImgLvl1, L2Norm2ImgOperation, L2Norm2ImgLvl2> {};

/// sqrt(inImg1^2 + inImg2^2) into a new float image; the inputs share one pixel type.
ImagePtr l2Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// sqrt(inImg1^2 + inImg2^2) into outImg (same size; any buffer type).
void l2Norm2Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<L2Norm2ImgLvl1> l2Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<L2Norm2ImgLvl1> l2Norm2Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L2Norm2ImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
