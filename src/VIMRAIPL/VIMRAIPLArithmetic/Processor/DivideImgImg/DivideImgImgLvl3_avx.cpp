#include "../../Kernel/Simd/AvxKernels.h"
#include "DivideImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(DivideImgImg)
