#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl3.h>

#include "../../Frame/Registration.h"
#include "../../Kernel/FormulaKernels.h"

VIMRA_FORMULA_LEVEL3(Formula3dImg)
