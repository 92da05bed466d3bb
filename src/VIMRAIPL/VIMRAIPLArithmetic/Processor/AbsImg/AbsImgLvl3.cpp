#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl3.h>

#include "AbsImgArithmetic.h"
#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const Lvl3Registration<AbsImgLvl3> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
