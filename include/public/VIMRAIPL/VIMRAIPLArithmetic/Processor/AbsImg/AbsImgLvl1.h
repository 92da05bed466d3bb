#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl2.h>

namespace vimra::imaproc::arithm {

class AbsImgLvl1 final : public PixelwiseLvl1<AbsImgLvl1, AbsImgOperation, AbsImgLvl2> {};

/// |inImg| into a new image of the promoted type.
ImagePtr absImg(const ConstImagePtr& inImg);
/// |inImg| into outImg (same size; any buffer type).
void absImg(const ConstImagePtr& inImg, const ImagePtr& outImg);
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg);
boost::shared_ptr<AbsImgLvl1> absImg_async(const ConstImagePtr& inImg, const ImagePtr& outImg);
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AbsImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
