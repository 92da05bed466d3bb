#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(Formula3dImgLvl2)
