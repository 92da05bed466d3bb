#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GenericLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

namespace vimra::imaproc::arithm {

/// subtractImgImg of every piece of the first image that has the second image's geometry.
struct GenericSubtractImgImgOperation {
    static constexpr const char* s_name = "GenericSubtractImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eGenericSubtractImgImgLvl1;
    using Piece = SubtractImgImgLvl1;
};

class GenericSubtractImgImgSplit2dLvl2 final
    : public GenericLvl2<GenericSubtractImgImgSplit2dLvl2, GenericSubtractImgImgOperation,
                         piece::Split2d> {};
class GenericSubtractImgImgSplit2dRgbLvl2 final
    : public GenericLvl2<GenericSubtractImgImgSplit2dRgbLvl2, GenericSubtractImgImgOperation,
                         piece::Split2dRgb> {};
class GenericSubtractImgImgSplit2dSeqLvl2 final
    : public GenericLvl2<GenericSubtractImgImgSplit2dSeqLvl2, GenericSubtractImgImgOperation,
                         piece::Split2dSeq> {};
class GenericSubtractImgImgSplit3dLvl2 final
    : public GenericLvl2<GenericSubtractImgImgSplit3dLvl2, GenericSubtractImgImgOperation,
                         piece::Split3d> {};
class GenericSubtractImgImgSplit3dRgbLvl2 final
    : public GenericLvl2<GenericSubtractImgImgSplit3dRgbLvl2, GenericSubtractImgImgOperation,
                         piece::Split3dRgb> {};

}  // namespace vimra::imaproc::arithm
