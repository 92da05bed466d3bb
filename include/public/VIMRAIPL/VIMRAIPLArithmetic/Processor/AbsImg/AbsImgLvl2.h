#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl3.h>

namespace vimra::imaproc::arithm {

class AbsImgLvl2 final : public PixelwiseLvl2<AbsImgLvl2, AbsImgOperation, AbsImgLvl3, AbsImgGpuLvl3> {};

}  // namespace vimra::imaproc::arithm
