#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(AbsImgLvl2)
VIMRA_ARITHM_GPU_CLASS(AbsImg)
