#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class BlendImgImgLvl2 final : public PixelwiseLvl2<BlendImgImgLvl2, BlendImgImgOperation, BlendImgImgLvl3> {};

}  // namespace vimra::imaproc::arithm
