#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl3.h>

namespace vimra::imaproc::arithm {

class L1Norm2ImgLvl2 final : public PixelwiseLvl2<L1Norm2ImgLvl2, L1Norm2ImgOperation, L1Norm2ImgLvl3> {};

}  // namespace vimra::imaproc::arithm
