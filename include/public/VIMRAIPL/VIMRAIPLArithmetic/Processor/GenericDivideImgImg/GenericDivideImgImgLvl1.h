#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericDivideImgImg/GenericDivideImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class GenericDivideImgImgLvl1 final
    : public GenericLvl1<GenericDivideImgImgLvl1, GenericDivideImgImgOperation,
                         GenericDivideImgImgSplit2dLvl2, GenericDivideImgImgSplit2dRgbLvl2,
                         GenericDivideImgImgSplit2dSeqLvl2, GenericDivideImgImgSplit3dLvl2,
                         GenericDivideImgImgSplit3dRgbLvl2> {};

/// inImg1 / inImg2 (0 where inImg2 is 0) on every piece of inImg1 with the geometry of inImg2 (a 2d
/// or 3d, grey or colour image, or a 2d grey sequence), into a new image of inImg1's geometry.
ImagePtr genericDivideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// The same into outImg (inImg1's size; any buffer type).
void genericDivideImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                         const ImagePtr& outImg);
boost::shared_ptr<GenericDivideImgImgLvl1> genericDivideImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2);
boost::shared_ptr<GenericDivideImgImgLvl1> genericDivideImgImg_async(const ConstImagePtr& inImg1,
                                                                     const ConstImagePtr& inImg2,
                                                                     const ImagePtr& outImg);
/// The output of a run started by genericDivideImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericDivideImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
