#include "../../Kernel/Gpu/CudaKernels.cuh"
#include "AbsImgArithmetic.h"

VIMRA_ARITHM_CUDA_KERNELS(AbsImg)
