#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl3.h>

#include "MinImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(MinImgImg)
