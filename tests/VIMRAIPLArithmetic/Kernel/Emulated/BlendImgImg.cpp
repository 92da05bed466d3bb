#include "EmulatedAvx512.h"

#include <Processor/BlendImgImg/BlendImgImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(BlendImgImg)
