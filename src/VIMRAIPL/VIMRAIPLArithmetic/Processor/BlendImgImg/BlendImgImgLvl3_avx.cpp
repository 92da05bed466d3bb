#include "../../Kernel/Simd/AvxKernels.h"
#include "BlendImgImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(BlendImgImg)
