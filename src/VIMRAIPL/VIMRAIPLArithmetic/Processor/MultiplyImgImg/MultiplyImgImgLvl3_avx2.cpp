// AVX2 kernels of MultiplyImgImgLvl3: every element-type combination. Compiled with the AVX2 flags;
// registered at load time only where the processor offers AVX2. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/Avx2Kernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "MultiplyImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class MultiplyImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<MultiplyImgImgLvl3, MultiplyImgImgArithmetic,
                                  eInstructionSet::eAVX2, 2>();
}  // namespace

}  // namespace vimra::imaproc::arithm
