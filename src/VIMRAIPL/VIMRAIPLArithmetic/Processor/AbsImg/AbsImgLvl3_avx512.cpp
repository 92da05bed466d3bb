#include "../../Kernel/Simd/Avx512Kernels.h"
#include "AbsImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(AbsImg)
