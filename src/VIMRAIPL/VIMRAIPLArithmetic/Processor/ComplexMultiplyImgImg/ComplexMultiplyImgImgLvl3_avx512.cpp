#include "../../Kernel/Simd/Avx512Kernels.h"
#include "ComplexMultiplyImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(ComplexMultiplyImgImg)
