#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl2.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const ClassRegistration<DivideImgImgLvl2> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
