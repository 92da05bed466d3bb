#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl3.h>

#include "L1Norm2ImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(L1Norm2Img)
