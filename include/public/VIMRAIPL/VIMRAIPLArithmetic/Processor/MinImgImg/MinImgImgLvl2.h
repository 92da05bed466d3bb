#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class MinImgImgLvl2 final : public PixelwiseLvl2<MinImgImgLvl2, MinImgImgOperation, MinImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
