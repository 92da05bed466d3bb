#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(LinearCombineImgImgLvl2)
