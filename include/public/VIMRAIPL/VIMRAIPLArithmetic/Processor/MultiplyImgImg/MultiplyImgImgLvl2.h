#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class MultiplyImgImgLvl2 final : public PixelwiseLvl2<MultiplyImgImgLvl2, MultiplyImgImgOperation, MultiplyImgImgLvl3, MultiplyImgImgGpuLvl3> {};

}  // namespace vimra::imaproc::arithm
