#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl3.h>

#include "CartesianToPolarImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(CartesianToPolarImg)
