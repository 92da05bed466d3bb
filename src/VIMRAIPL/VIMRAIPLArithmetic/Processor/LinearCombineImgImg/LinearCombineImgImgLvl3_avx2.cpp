#include "../../Kernel/Simd/Avx2Kernels.h"
#include "LinearCombineImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(LinearCombineImgImg)
