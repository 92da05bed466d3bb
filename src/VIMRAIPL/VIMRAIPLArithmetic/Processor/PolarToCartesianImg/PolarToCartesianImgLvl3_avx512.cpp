#include "../../Kernel/Simd/Avx512Kernels.h"
#include "PolarToCartesianImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(PolarToCartesianImg)
