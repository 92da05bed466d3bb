#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl3.h>

namespace vimra::imaproc::arithm {

class L2Norm3ImgLvl2 final : public PixelwiseLvl2<L2Norm3ImgLvl2, L2Norm3ImgOperation, L2Norm3ImgLvl3> {};

}  // namespace vimra::imaproc::arithm
