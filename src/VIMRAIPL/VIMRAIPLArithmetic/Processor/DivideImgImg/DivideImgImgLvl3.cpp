#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl3.h>

#include "DivideImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(DivideImgImg)
