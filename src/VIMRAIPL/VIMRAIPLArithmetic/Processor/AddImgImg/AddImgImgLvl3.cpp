#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl3.h>

#include "AddImgImgArithmetic.h"
#include "../../Frame/Registration.h"

VIMRA_ARITHM_LEVEL3(AddImgImg)
