#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(ComplexMultiplyImgImgLvl2)
