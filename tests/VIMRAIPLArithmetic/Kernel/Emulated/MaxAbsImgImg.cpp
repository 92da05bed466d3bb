#include "EmulatedAvx512.h"

#include <Processor/MaxAbsImgImg/MaxAbsImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(MaxAbsImgImg)
