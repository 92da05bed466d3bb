#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm3Img/L1Norm3ImgLvl3.h>

namespace vimra::imaproc::arithm {

class L1Norm3ImgLvl2 final : public PixelwiseLvl2<L1Norm3ImgLvl2, L1Norm3ImgOperation, L1Norm3ImgLvl3> {};

}  // namespace vimra::imaproc::arithm
