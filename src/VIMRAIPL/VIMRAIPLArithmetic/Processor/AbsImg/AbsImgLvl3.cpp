#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl3.h>

#include "AbsImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(AbsImg)
