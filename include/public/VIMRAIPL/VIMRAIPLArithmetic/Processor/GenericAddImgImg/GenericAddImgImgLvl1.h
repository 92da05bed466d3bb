#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericAddImgImg/GenericAddImgImgLvl2.h>

namespace vimra::imaproc::arithm {

class GenericAddImgImgLvl1 final
    : public GenericLvl1<GenericAddImgImgLvl1, GenericAddImgImgOperation,
                         GenericAddImgImgSplit2dLvl2, GenericAddImgImgSplit2dRgbLvl2,
                         GenericAddImgImgSplit2dSeqLvl2, GenericAddImgImgSplit3dLvl2,
                         GenericAddImgImgSplit3dRgbLvl2> {};

/// inImg1 + inImg2 on every piece of inImg1 with the geometry of inImg2 (a 2d or 3d, grey
/// or colour image, or a 2d grey sequence), into a new image of inImg1's geometry.
ImagePtr genericAddImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2);
/// The same into outImg (inImg1's size; any buffer type).
void genericAddImgImg(const ConstImagePtr& inImg1, const ConstImagePtr& inImg2,
                      const ImagePtr& outImg);
boost::shared_ptr<GenericAddImgImgLvl1> genericAddImgImg_async(const ConstImagePtr& inImg1,
                                                               const ConstImagePtr& inImg2);
boost::shared_ptr<GenericAddImgImgLvl1> genericAddImgImg_async(const ConstImagePtr& inImg1,
                                                               const ConstImagePtr& inImg2,
                                                               const ImagePtr& outImg);
/// The output of a run started by genericAddImgImg_async, once it has finished.
ImagePtr getAsyncProcessorOutput(const boost::shared_ptr<GenericAddImgImgLvl1>& processor);

}  // namespace vimra::imaproc::arithm
