#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GenericLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>

namespace vimra::imaproc::arithm {

/// multiplyImgImg of every piece of the first image that has the second image's geometry.
struct GenericMultiplyImgImgOperation {
    static constexpr const char* s_name = "GenericMultiplyImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eGenericMultiplyImgImgLvl1;
    using Piece = MultiplyImgImgLvl1;
};

class GenericMultiplyImgImgSplit2dLvl2 final
    : public GenericLvl2<GenericMultiplyImgImgSplit2dLvl2, GenericMultiplyImgImgOperation,
                         piece::Split2d> {};
class GenericMultiplyImgImgSplit2dRgbLvl2 final
    : public GenericLvl2<GenericMultiplyImgImgSplit2dRgbLvl2, GenericMultiplyImgImgOperation,
                         piece::Split2dRgb> {};
class GenericMultiplyImgImgSplit2dSeqLvl2 final
    : public GenericLvl2<GenericMultiplyImgImgSplit2dSeqLvl2, GenericMultiplyImgImgOperation,
                         piece::Split2dSeq> {};
class GenericMultiplyImgImgSplit3dLvl2 final
    : public GenericLvl2<GenericMultiplyImgImgSplit3dLvl2, GenericMultiplyImgImgOperation,
                         piece::Split3d> {};
class GenericMultiplyImgImgSplit3dRgbLvl2 final
    : public GenericLvl2<GenericMultiplyImgImgSplit3dRgbLvl2, GenericMultiplyImgImgOperation,
                         piece::Split3dRgb> {};

}  // namespace vimra::imaproc::arithm
