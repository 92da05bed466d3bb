#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl2.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const ClassRegistration<AbsImgLvl2> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
