#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(BlendImgImgLvl2)
