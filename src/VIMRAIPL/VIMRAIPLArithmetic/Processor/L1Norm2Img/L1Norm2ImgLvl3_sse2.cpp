#include "../../Kernel/Simd/Sse2Kernels.h"
#include "L1Norm2ImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(L1Norm2Img)
