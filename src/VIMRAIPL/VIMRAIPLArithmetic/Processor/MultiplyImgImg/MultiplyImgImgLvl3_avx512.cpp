#include "../../Kernel/Simd/Avx512Kernels.h"
#include "MultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MultiplyImgImg)
