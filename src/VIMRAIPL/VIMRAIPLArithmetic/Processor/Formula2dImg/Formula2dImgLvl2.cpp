#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(Formula2dImgLvl2)
