#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L1Norm2ImgLvl2)
