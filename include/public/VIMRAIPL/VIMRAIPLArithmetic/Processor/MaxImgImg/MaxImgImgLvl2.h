#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class MaxImgImgLvl2 final : public PixelwiseLvl2<MaxImgImgLvl2, MaxImgImgOperation, MaxImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
