#include "../../Kernel/Simd/Sse2Kernels.h"
#include "PolarToCartesianImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(PolarToCartesianImg)
