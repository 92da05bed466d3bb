#pragma once

#include "../L2Norm2Img/L2Norm2ImgArithmetic.h"

namespace vimra::imaproc::arithm {

struct L2Norm3ImgArithmetic : kernel::SharedTypeConvert<3>, L2NormFaces {};

}  // namespace vimra::imaproc::arithm
