#include "EmulatedAvx512.h"

#include <Processor/L2Norm2Img/L2Norm2ImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(L2Norm2Img)
