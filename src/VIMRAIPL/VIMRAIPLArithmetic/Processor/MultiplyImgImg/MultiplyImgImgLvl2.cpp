#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl2.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const ClassRegistration<MultiplyImgImgLvl2> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
