#include "../../Kernel/Simd/AvxKernels.h"
#include "CartesianToPolarImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(CartesianToPolarImg)
