#include "../../Kernel/Simd/Avx512Kernels.h"
#include "MaxAbsImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxAbsImgImg)
