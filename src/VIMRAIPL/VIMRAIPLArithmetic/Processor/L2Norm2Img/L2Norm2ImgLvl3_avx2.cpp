#include "../../Kernel/Simd/Avx2Kernels.h"
#include "L2Norm2ImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(L2Norm2Img)
