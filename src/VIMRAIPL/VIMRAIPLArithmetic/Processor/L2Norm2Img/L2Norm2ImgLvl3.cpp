#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl3.h>

#include "L2Norm2ImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(L2Norm2Img)
