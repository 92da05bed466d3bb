#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class DivideImgImgLvl2 final : public PixelwiseLvl2<DivideImgImgLvl2, DivideImgImgOperation, DivideImgImgLvl3, DivideImgImgGpuLvl3> {};

}  // namespace vimra::imaproc::arithm
