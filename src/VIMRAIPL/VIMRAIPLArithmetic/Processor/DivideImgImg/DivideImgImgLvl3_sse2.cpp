#include "../../Kernel/Simd/Sse2Kernels.h"
#include "DivideImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(DivideImgImg)
