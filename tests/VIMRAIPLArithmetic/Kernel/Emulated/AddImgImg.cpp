#include "EmulatedAvx512.h"

#include <Processor/AddImgImg/AddImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(AddImgImg)
