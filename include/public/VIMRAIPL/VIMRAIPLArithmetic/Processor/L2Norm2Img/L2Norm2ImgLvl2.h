#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl3.h>

namespace vimra::imaproc::arithm {

class L2Norm2ImgLvl2 final : public PixelwiseLvl2<L2Norm2ImgLvl2, L2Norm2ImgOperation, L2Norm2ImgLvl3> {};

}  // namespace vimra::imaproc::arithm
