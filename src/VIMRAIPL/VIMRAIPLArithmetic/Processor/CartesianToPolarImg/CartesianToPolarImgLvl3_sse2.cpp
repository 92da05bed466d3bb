#include "../../Kernel/Simd/Sse2Kernels.h"
#include "CartesianToPolarImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(CartesianToPolarImg)
