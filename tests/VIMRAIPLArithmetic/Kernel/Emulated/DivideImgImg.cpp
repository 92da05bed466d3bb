#include "EmulatedAvx512.h"

#include <Processor/DivideImgImg/DivideImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(DivideImgImg)
