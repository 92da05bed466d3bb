#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl3.h>

#include "AddImgImgArithmetic.h"
#include "../../Frame/Registration.h"

namespace vimra::imaproc::arithm {
namespace {
const Lvl3Registration<AddImgImgLvl3> registration;
}  // namespace
}  // namespace vimra::imaproc::arithm
