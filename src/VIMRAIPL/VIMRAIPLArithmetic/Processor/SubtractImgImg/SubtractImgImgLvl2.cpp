#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl2.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const ClassRegistration<SubtractImgImgLvl2> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
