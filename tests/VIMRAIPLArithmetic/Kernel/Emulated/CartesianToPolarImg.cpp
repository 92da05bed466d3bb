#include "EmulatedAvx512.h"

#include <Processor/CartesianToPolarImg/CartesianToPolarImgArithmetic.h>

VIMRA_TEST_EMULATED_KERNELS(CartesianToPolarImg)
