#include "../../Kernel/Gpu/CudaKernels.cuh"
#include "SubtractImgImgArithmetic.h"

VIMRA_ARITHM_CUDA_KERNELS(SubtractImgImg)
