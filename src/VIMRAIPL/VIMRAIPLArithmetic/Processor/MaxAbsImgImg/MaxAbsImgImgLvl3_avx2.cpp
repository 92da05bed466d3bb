#include "../../Kernel/Simd/Avx2Kernels.h"
#include "MaxAbsImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(MaxAbsImgImg)
