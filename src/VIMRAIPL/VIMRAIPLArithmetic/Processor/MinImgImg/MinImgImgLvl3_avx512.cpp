#include "../../Kernel/Simd/Avx512Kernels.h"
#include "MinImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MinImgImg)
