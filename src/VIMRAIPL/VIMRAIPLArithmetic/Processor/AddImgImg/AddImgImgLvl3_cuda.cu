#include "../../Kernel/Gpu/CudaKernels.cuh"
#include "AddImgImgArithmetic.h"

VIMRA_ARITHM_CUDA_KERNELS(AddImgImg)
