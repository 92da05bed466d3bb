#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl3.h>

#include "../../Frame/Registration.h"
#include "../../Kernel/FormulaKernels.h"

VIMRA_FORMULA_LEVEL3(Formula2dImg)
