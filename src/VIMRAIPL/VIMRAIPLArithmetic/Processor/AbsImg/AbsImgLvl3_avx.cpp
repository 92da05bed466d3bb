// AVX kernels of AbsImgLvl3: the all-float kernel. Compiled with the AVX flags;
// registered at load time only where the processor offers AVX. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/AvxKernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "AbsImgArithmetic.h"

namespace vimra::imaproc::arithm {

class AbsImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<AbsImgLvl3, AbsImgArithmetic, eInstructionSet::eAVX, 1, true>();
}  // namespace

}  // namespace vimra::imaproc::arithm
