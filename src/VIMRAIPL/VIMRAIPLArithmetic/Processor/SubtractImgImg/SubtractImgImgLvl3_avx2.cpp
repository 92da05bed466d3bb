#include "../../Kernel/Simd/Avx2Kernels.h"
#include "SubtractImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(SubtractImgImg)
