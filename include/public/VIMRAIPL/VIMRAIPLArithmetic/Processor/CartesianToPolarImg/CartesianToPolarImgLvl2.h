#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl3.h>

namespace vimra::imaproc::arithm {

class CartesianToPolarImgLvl2 final : public PixelwiseLvl2<CartesianToPolarImgLvl2, CartesianToPolarImgOperation, CartesianToPolarImgLvl3> {};

}  // namespace vimra::imaproc::arithm
