#include "../../Kernel/Simd/Avx512Kernels.h"
#include "LinearCombineImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(LinearCombineImgImg)
