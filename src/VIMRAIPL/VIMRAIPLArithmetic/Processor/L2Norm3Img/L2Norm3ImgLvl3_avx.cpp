#include "../../Kernel/Simd/AvxKernels.h"
#include "L2Norm3ImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(L2Norm3Img)
