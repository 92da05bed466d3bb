#include "../../Kernel/Simd/Sse2Kernels.h"
#include "MultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MultiplyImgImg)
