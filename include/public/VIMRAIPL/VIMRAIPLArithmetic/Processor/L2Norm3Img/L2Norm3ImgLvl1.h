#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl2.h>

namespace vimra::imaproc::arithm {

class L2Norm3ImgLvl1 final : public PixelwiseLvl1<L2Norm3ImgLvl1, L2Norm3ImgOperation, L2Norm3ImgLvl2> {};

/// sqrt(inImg1^2 + inImg2^2 + inImg3^2) into a new float image; the inputs share one pixel type.
ImagePtr l2Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3);
/// sqrt(inImg1^2 + inImg2^2 + inImg3^2) into outImg (same size; any buffer type).
void l2Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg);
boost::shared_ptr<L2Norm3ImgLvl1> l2Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3);
boost::shared_ptr<L2Norm3ImgLvl1> l2Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg);
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L2Norm3ImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
