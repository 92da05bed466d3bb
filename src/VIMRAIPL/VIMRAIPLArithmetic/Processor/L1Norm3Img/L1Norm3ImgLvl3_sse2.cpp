#include "../../Kernel/Simd/Sse2Kernels.h"
#include "L1Norm3ImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(L1Norm3Img)
