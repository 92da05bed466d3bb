#include "../../Kernel/Simd/Avx2Kernels.h"
#include "ComplexMultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(ComplexMultiplyImgImg)
