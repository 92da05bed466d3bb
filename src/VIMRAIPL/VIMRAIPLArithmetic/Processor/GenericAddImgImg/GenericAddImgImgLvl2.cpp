#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/GenericAddImgImg/GenericAddImgImgLvl2.h>

#include "../../Frame/Registration.h"

VIMRA_ARITHM_CLASS(GenericAddImgImgSplit2dLvl2)
VIMRA_ARITHM_CLASS(GenericAddImgImgSplit2dRgbLvl2)
VIMRA_ARITHM_CLASS(GenericAddImgImgSplit2dSeqLvl2)
VIMRA_ARITHM_CLASS(GenericAddImgImgSplit3dLvl2)
VIMRA_ARITHM_CLASS(GenericAddImgImgSplit3dRgbLvl2)
