#include "../../Kernel/Simd/Avx512Kernels.h"
#include "MaxImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxImgImg)
