#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(DivideImgImgLvl2)
VIMRA_ARITHM_GPU_CLASS(DivideImgImg)
