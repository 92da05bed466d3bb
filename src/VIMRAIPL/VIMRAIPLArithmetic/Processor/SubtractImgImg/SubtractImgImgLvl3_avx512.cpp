#include "../../Kernel/Simd/Avx512Kernels.h"
#include "SubtractImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(SubtractImgImg)
