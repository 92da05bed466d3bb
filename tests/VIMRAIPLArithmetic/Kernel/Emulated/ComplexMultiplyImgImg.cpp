#include "EmulatedAvx512.h"

#include <Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(ComplexMultiplyImgImg)
