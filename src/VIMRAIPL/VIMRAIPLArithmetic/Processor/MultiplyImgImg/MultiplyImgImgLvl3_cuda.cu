#include "../../Kernel/Gpu/CudaKernels.cuh"
#include "MultiplyImgImgArithmetic.h"

VIMRA_ARITHM_CUDA_KERNELS(MultiplyImgImg)
