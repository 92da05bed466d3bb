#include "EmulatedAvx512.h"

#include <Processor/L1Norm3Img/L1Norm3ImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(L1Norm3Img)
