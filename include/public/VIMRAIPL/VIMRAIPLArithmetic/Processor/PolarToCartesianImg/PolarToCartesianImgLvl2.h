#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl3.h>

namespace vimra::imaproc::arithm {

class PolarToCartesianImgLvl2 final : public PixelwiseLvl2<PolarToCartesianImgLvl2, PolarToCartesianImgOperation, PolarToCartesianImgLvl3> {};

}  // namespace vimra::imaproc::arithm
