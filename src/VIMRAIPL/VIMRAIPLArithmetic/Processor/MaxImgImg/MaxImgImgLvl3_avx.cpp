#include "../../Kernel/Simd/AvxKernels.h"
#include "MaxImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxImgImg)
