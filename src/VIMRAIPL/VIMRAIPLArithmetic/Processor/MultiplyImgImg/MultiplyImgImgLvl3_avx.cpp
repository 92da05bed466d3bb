// AVX kernels of MultiplyImgImgLvl3: the all-float kernel. Compiled with the AVX flags;
// registered at load time only where the processor offers AVX. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/AvxKernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "MultiplyImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class MultiplyImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<MultiplyImgImgLvl3, MultiplyImgImgArithmetic,
                                  eInstructionSet::eAVX, 2, true>();
}  // namespace

}  // namespace vimra::imaproc::arithm
