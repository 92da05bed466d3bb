#include "../../Kernel/Simd/AvxKernels.h"
#include "AbsImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AbsImg)
