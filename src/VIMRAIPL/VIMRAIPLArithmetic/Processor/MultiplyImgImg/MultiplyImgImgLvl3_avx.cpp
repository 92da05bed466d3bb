#include "../../Kernel/Simd/AvxKernels.h"
#include "MultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MultiplyImgImg)
