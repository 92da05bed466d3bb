#include "../../Kernel/Simd/Avx512Kernels.h"
#include "DivideImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(DivideImgImg)
