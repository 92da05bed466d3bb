#pragma once

#include "../L1Norm2Img/L1Norm2ImgArithmetic.h"

namespace vimra::imaproc::arithm {

struct L1Norm3ImgArithmetic : kernel::SharedTypeConvert<3>, L1NormFaces {};

}  // namespace vimra::imaproc::arithm
