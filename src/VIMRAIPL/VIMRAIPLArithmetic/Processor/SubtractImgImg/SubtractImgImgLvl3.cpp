#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl3.h>

#include "SubtractImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(SubtractImgImg)
