#include "../../Kernel/Simd/AvxKernels.h"
#include "MaxAbsImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxAbsImgImg)
