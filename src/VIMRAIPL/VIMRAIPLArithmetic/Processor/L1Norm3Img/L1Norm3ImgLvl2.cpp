#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm3Img/L1Norm3ImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L1Norm3ImgLvl2)
