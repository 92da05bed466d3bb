#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl3.h>

#include "MultiplyImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(MultiplyImgImg)
