#include "../../Kernel/Simd/Avx2Kernels.h"
#include "AddImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AddImgImg)
