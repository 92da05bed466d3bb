#include "../../Kernel/Simd/Avx2Kernels.h"
#include "MultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MultiplyImgImg)
