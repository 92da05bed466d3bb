#include "../../Kernel/Simd/Avx2Kernels.h"
#include "MaxImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxImgImg)
