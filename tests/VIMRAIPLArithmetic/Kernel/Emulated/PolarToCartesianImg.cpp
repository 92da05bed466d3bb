#include "EmulatedAvx512.h"

#include <Processor/PolarToCartesianImg/PolarToCartesianImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(PolarToCartesianImg)
