#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GenericLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>

namespace vimra::imaproc::arithm {

/// divideImgImg of every piece of the first image that has the second image's geometry.
struct GenericDivideImgImgOperation {
    static constexpr const char* s_name = "GenericDivideImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eGenericDivideImgImgLvl1;
    using Piece = DivideImgImgLvl1;
};

class GenericDivideImgImgSplit2dLvl2 final
    : public GenericLvl2<GenericDivideImgImgSplit2dLvl2, GenericDivideImgImgOperation,
                         piece::Split2d> {};
class GenericDivideImgImgSplit2dRgbLvl2 final
    : public GenericLvl2<GenericDivideImgImgSplit2dRgbLvl2, GenericDivideImgImgOperation,
                         piece::Split2dRgb> {};
class GenericDivideImgImgSplit2dSeqLvl2 final
    : public GenericLvl2<GenericDivideImgImgSplit2dSeqLvl2, GenericDivideImgImgOperation,
                         piece::Split2dSeq> {};
class GenericDivideImgImgSplit3dLvl2 final
    : public GenericLvl2<GenericDivideImgImgSplit3dLvl2, GenericDivideImgImgOperation,
                         piece::Split3d> {};
class GenericDivideImgImgSplit3dRgbLvl2 final
    : public GenericLvl2<GenericDivideImgImgSplit3dRgbLvl2, GenericDivideImgImgOperation,
                         piece::Split3dRgb> {};

}  // namespace vimra::imaproc::arithm
