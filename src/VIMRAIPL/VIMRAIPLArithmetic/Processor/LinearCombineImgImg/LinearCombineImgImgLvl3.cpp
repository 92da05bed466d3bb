#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl3.h>

#include "LinearCombineImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(LinearCombineImgImg)
