#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl3.h>

namespace vimra::imaproc::arithm {

class AddImgImgLvl2 final : public PixelwiseLvl2<AddImgImgLvl2, AddImgImgOperation, AddImgImgLvl3, AddImgImgGpuLvl3> {};

}  // namespace vimra::imaproc::arithm
