#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(CartesianToPolarImgLvl2)
