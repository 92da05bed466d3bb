#pragma once

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/GenericLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

namespace vimra::imaproc::arithm {

/// addImgImg of every piece of the first image that has the second image's geometry.
struct GenericAddImgImgOperation {
    static constexpr const char* s_name = "GenericAddImgImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eGenericAddImgImgLvl1;
    using Piece = AddImgImgLvl1;
};

class GenericAddImgImgSplit2dLvl2 final
    : public GenericLvl2<GenericAddImgImgSplit2dLvl2, GenericAddImgImgOperation, piece::Split2d> {};
class GenericAddImgImgSplit2dRgbLvl2 final
    : public GenericLvl2<GenericAddImgImgSplit2dRgbLvl2, GenericAddImgImgOperation,
                         piece::Split2dRgb> {};
class GenericAddImgImgSplit2dSeqLvl2 final
    : public GenericLvl2<GenericAddImgImgSplit2dSeqLvl2, GenericAddImgImgOperation,
                         piece::Split2dSeq> {};
class GenericAddImgImgSplit3dLvl2 final
    : public GenericLvl2<GenericAddImgImgSplit3dLvl2, GenericAddImgImgOperation, piece::Split3d> {};
class GenericAddImgImgSplit3dRgbLvl2 final
    : public GenericLvl2<GenericAddImgImgSplit3dRgbLvl2, GenericAddImgImgOperation,
                         piece::Split3dRgb> {};

}  // namespace vimra::imaproc::arithm
