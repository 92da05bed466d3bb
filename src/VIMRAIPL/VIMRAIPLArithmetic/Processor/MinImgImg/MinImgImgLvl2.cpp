#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MinImgImgLvl2)
