#include "EmulatedAvx512.h"

#include <Processor/AbsImg/AbsImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(AbsImg)
