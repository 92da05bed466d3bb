#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl2.h>

#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const ClassRegistration<AddImgImgLvl2> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
