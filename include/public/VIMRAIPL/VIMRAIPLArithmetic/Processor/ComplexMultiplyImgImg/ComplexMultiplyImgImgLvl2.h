#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class ComplexMultiplyImgImgLvl2 final : public PixelwiseLvl2<ComplexMultiplyImgImgLvl2, ComplexMultiplyImgImgOperation, ComplexMultiplyImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
