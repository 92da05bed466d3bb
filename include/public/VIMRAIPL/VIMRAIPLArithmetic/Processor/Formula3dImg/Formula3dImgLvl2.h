#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl3.h>

namespace vimra::imaproc::arithm {

class Formula3dImgLvl2 final
    : public FormulaLvl2<Formula3dImgLvl2, Formula3dImgOperation, Formula3dImgLvl3> {};

}  // namespace vimra::imaproc::arithm
