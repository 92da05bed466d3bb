#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(PolarToCartesianImgLvl2)
