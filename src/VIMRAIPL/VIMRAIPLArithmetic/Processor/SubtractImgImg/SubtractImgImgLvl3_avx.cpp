#include "../../Kernel/Simd/AvxKernels.h"
#include "SubtractImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(SubtractImgImg)
