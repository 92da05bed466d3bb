#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class SubtractImgImgLvl2 final : public PixelwiseLvl2<SubtractImgImgLvl2, SubtractImgImgOperation, SubtractImgImgLvl3, SubtractImgImgGpuLvl3> {};

}  // namespace vimra::imaproc::arithm
