#include "../../Kernel/Simd/Avx512Kernels.h"
#include "BlendImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(BlendImgImg)
