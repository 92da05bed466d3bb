#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MaxAbsImgImgLvl2)
