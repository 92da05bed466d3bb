#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class LinearCombineImgImgLvl2 final : public PixelwiseLvl2<LinearCombineImgImgLvl2, LinearCombineImgImgOperation, LinearCombineImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
