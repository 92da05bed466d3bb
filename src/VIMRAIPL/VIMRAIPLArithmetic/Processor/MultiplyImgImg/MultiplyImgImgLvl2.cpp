#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(MultiplyImgImgLvl2)
VIMRA_ARITHM_GPU_CLASS(MultiplyImgImg)
