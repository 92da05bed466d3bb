#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MaxImgImgLvl2)
