#include "../../Kernel/Simd/Avx512Kernels.h"
#include "AddImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AddImgImg)
