#include "../../Kernel/Simd/Sse2Kernels.h"
#include "AbsImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AbsImg)
