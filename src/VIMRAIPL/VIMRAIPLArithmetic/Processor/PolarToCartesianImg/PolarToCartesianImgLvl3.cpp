#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl3.h>

#include "PolarToCartesianImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(PolarToCartesianImg)
