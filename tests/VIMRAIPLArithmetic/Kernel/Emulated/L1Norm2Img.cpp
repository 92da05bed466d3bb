#include "EmulatedAvx512.h"

#include <Processor/L1Norm2Img/L1Norm2ImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(L1Norm2Img)
