#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl3.h>

#include "DivideImgImgArithmetic.h"
#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const Lvl3Registration<DivideImgImgLvl3> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
