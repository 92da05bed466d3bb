#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm3Img/L1Norm3ImgLvl3.h>

#include "L1Norm3ImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(L1Norm3Img)
