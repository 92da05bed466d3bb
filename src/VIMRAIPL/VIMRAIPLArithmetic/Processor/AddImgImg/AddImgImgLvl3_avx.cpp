#include "../../Kernel/Simd/AvxKernels.h"
#include "AddImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AddImgImg)
