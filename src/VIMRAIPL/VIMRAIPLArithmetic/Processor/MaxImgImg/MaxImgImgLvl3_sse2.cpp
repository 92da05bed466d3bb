#include "../../Kernel/Simd/Sse2Kernels.h"
#include "MaxImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxImgImg)
