#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericSubtractImgImg/GenericSubtractImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class GenericSubtractImgImgLvl1 final
    : public GenericLvl1<GenericSubtractImgImgLvl1, GenericSubtractImgImgOperation,
                         GenericSubtractImgImgSplit2dLvl2, GenericSubtractImgImgSplit2dRgbLvl2,
                         GenericSubtractImgImgSplit2dSeqLvl2, GenericSubtractImgImgSplit3dLvl2,
                         GenericSubtractImgImgSplit3dRgbLvl2> {};

/// inImg1 - inImg2 on every piece of inImg1 with the geometry of inImg2 (a 2d or 3d, grey
/// or colour image, or a 2d grey sequence), into a new image of inImg1's geometry.
ImagePtr genericSubtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// The same into outImg (inImg1's size; any buffer type).
void genericSubtractImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                           const ImagePtr& outImg);
boost::shared_ptr<GenericSubtractImgImgLvl1> genericSubtractImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
boost::shared_ptr<GenericSubtractImgImgLvl1> genericSubtractImgImg_async(
    const ConstImagePtr& inImg1, const ConstImagePtr& inImg2, const ImagePtr& outImg);
/// The output of a run started by genericSubtractImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericSubtractImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
