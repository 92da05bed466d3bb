#include "../../Kernel/Simd/AvxKernels.h"
#include "PolarToCartesianImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(PolarToCartesianImg)
