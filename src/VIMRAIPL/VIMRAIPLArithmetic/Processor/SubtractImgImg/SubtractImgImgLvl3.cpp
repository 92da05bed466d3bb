#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl3.h>

#include "SubtractImgImgArithmetic.h"
#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const Lvl3Registration<SubtractImgImgLvl3> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
