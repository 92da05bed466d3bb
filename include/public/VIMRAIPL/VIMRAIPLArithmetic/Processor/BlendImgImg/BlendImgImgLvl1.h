#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class BlendImgImgLvl1 final : public PixelwiseLvl1<BlendImgImgLvl1, BlendImgImgOperation, BlendImgImgLvl2> {};

/// inImg1 * multiplier + inImg2 * (1 - multiplier) into a new image of the promoted type.
ImagePtr blendImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float multiplier);
/// The same into outImg (same size; any buffer type).
void blendImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, float multiplier,
                 const ImagePtr& outImg);
boost::shared_ptr<BlendImgImgLvl1> blendImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                     float multiplier);
boost::shared_ptr<BlendImgImgLvl1> blendImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                     float multiplier, const ImagePtr& outImg);
/// The output of a run started by blendImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<BlendImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
