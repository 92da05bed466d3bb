#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(AddImgImgLvl2)
VIMRA_ARITHM_GPU_CLASS(AddImgImg)
