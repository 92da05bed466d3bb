#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericMultiplyImgImg/GenericMultiplyImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class GenericMultiplyImgImgLvl1 final
    : public GenericLvl1<GenericMultiplyImgImgLvl1, GenericMultiplyImgImgOperation,
                         GenericMultiplyImgImgSplit2dLvl2, GenericMultiplyImgImgSplit2dRgbLvl2,
                         GenericMultiplyImgImgSplit2dSeqLvl2, GenericMultiplyImgImgSplit3dLvl2,
                         GenericMultiplyImgImgSplit3dRgbLvl2> {};

/// inImg1 * inImg2 on every piece of inImg1 with the geometry of inImg2 (a 2d or 3d, grey
/// or colour image, or a 2d grey sequence), into a new image of inImg1's geometry.
ImagePtr genericMultiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// The same into outImg (inImg1's size; any buffer type).
void genericMultiplyImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                           const ImagePtr& outImg);
boost::shared_ptr<GenericMultiplyImgImgLvl1> genericMultiplyImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<GenericMultiplyImgImgLvl1> genericMultiplyImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
/// The output of a run started by genericMultiplyImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericMultiplyImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
