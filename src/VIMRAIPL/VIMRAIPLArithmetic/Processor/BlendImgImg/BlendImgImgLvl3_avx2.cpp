#include "../../Kernel/Simd/Avx2Kernels.h"
#include "BlendImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(BlendImgImg)
