#include "../../Kernel/Simd/AvxKernels.h"
#include "MinImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MinImgImg)
