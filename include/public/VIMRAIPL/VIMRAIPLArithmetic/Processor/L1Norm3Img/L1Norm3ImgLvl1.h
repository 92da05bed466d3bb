#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm3Img/L1Norm3ImgLvl2.h>

namespace vimra::imaproc::arithm {

class L1Norm3ImgLvl1 final : public PixelwiseLvl1<L1Norm3ImgLvl1, L1Norm3ImgOperation, L1Norm3ImgLvl2> {};

/// |inImg1| + |inImg2| + |inImg3| into a new image of the promoted type; the inputs share one pixel type.
ImagePtr l1Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3);
/// |inImg1| + |inImg2| + |inImg3| into outImg (same size; any buffer type).
void l1Norm3Img(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg);
boost::shared_ptr<L1Norm3ImgLvl1> l1Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3);
boost::shared_ptr<L1Norm3ImgLvl1> l1Norm3Img_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ConstImagePtr& inImg3, const ImagePtr& outImg);
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<L1Norm3ImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
