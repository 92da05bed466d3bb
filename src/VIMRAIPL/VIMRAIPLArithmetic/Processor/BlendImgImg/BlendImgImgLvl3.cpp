#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl3.h>

#include "BlendImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(BlendImgImg)
