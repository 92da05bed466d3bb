// AVX kernels of DivideImgImgLvl3: the all-float kernel. Compiled with the AVX flags;
// registered at load time only where the processor offers AVX. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/AvxKernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "DivideImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class DivideImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<DivideImgImgLvl3, DivideImgImgArithmetic, eInstructionSet::eAVX,
                                  2, true>();
}  // namespace

}  // namespace vimra::imaproc::arithm
