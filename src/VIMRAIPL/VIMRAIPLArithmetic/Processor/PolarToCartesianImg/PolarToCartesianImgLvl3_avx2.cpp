#include "../../Kernel/Simd/Avx2Kernels.h"
#include "PolarToCartesianImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(PolarToCartesianImg)
