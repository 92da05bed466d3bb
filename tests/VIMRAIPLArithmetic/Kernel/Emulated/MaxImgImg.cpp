#include "EmulatedAvx512.h"

#include <Processor/MaxImgImg/MaxImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(MaxImgImg)
