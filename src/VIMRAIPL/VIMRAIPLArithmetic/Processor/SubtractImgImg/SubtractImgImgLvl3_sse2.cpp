#include "../../Kernel/Simd/Sse2Kernels.h"
#include "SubtractImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(SubtractImgImg)
