#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl3.h>

namespace vimra::imaproc::arithm {

class Formula2dImgLvl2 final
    : public FormulaLvl2<Formula2dImgLvl2, Formula2dImgOperation, Formula2dImgLvl3> {};

}  // namespace vimra::imaproc::arithm
