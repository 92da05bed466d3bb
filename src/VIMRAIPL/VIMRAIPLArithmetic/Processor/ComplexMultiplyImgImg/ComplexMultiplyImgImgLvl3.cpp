#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl3.h>

#include "ComplexMultiplyImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(ComplexMultiplyImgImg)
