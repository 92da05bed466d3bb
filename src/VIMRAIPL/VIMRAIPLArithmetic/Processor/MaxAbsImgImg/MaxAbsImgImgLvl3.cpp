#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl3.h>

#include "MaxAbsImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(MaxAbsImgImg)
