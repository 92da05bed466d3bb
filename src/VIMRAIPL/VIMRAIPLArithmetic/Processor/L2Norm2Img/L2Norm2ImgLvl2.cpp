#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L2Norm2ImgLvl2)
