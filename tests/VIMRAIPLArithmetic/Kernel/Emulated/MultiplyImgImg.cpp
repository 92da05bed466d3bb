#include "EmulatedAvx512.h"

#include <Processor/MultiplyImgImg/MultiplyImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(MultiplyImgImg)
