#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl3.h>

#include "L2Norm3ImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(L2Norm3Img)
