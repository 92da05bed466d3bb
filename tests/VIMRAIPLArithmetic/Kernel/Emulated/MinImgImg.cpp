#include "EmulatedAvx512.h"

#include <Processor/MinImgImg/MinImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(MinImgImg)
