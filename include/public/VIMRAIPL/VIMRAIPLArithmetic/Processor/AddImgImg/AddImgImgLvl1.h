#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class AddImgImgLvl1 final : public PixelwiseLvl1<AddImgImgLvl1, AddImgImgOperation, AddImgImgLvl2> {};

/// inImg1 + inImg2 into a new image of the promoted type.
ImagePtr addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// inImg1 + inImg2 into outImg (same size; any buffer type).
void addImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<AddImgImgLvl1> addImgImg_async(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                                                 const ImagePtr& outImg);
/// The output of a run started by addImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<AddImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
