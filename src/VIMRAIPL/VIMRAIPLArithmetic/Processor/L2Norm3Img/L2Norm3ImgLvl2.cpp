#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(L2Norm3ImgLvl2)
