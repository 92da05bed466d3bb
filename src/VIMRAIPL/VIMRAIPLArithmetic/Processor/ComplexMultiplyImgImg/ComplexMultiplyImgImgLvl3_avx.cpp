#include "../../Kernel/Simd/AvxKernels.h"
#include "ComplexMultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(ComplexMultiplyImgImg)
