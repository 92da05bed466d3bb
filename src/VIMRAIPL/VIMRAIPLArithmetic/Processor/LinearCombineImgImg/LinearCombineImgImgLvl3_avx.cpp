#include "../../Kernel/Simd/AvxKernels.h"
#include "LinearCombineImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(LinearCombineImgImg)
