#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl3.h>

#include "MultiplyImgImgArithmetic.h"
#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const Lvl3Registration<MultiplyImgImgLvl3> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
