#include "../../Kernel/Simd/Avx2Kernels.h"
#include "MinImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MinImgImg)
