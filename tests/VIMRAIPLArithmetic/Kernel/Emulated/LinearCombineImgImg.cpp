#include "EmulatedAvx512.h"

#include <Processor/LinearCombineImgImg/LinearCombineImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(LinearCombineImgImg)
