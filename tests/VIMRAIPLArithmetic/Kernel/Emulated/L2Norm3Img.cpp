#include "EmulatedAvx512.h"

#include <Processor/L2Norm3Img/L2Norm3ImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(L2Norm3Img)
