#include "../../Kernel/Gpu/CudaKernels.cuh"
#include "DivideImgImgArithmetic.h"

VIMRA_ARITHM_CUDA_KERNELS(DivideImgImg)
