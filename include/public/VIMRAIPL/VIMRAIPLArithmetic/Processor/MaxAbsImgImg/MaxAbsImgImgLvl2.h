#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class MaxAbsImgImgLvl2 final : public PixelwiseLvl2<MaxAbsImgImgLvl2, MaxAbsImgImgOperation, MaxAbsImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
