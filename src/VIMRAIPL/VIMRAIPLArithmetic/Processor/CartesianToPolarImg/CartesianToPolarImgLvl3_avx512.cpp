#include "../../Kernel/Simd/Avx512Kernels.h"
#include "CartesianToPolarImgArithmetic.h"

VIMRA_ARITHM_ISA_KERNELS(CartesianToPolarImg)
