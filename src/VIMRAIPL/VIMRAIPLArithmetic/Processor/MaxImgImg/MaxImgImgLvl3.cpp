#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl3.h>

#include "MaxImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(MaxImgImg)
