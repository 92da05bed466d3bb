#include "EmulatedAvx512.h"

#include <Processor/SubtractImgImg/SubtractImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(SubtractImgImg)
