#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(SubtractImgImgLvl2)
VIMRA_ARITHM_GPU_CLASS(SubtractImgImg)
