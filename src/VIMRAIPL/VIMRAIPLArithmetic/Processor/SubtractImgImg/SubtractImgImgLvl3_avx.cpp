// AVX kernels of SubtractImgImgLvl3: the all-float kernel. Compiled with the AVX flags;
// registered at load time only where the processor offers AVX. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/AvxKernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "SubtractImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class SubtractImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<SubtractImgImgLvl3, SubtractImgImgArithmetic,
                                  eInstructionSet::eAVX, 2, true>();
}  // namespace

}  // namespace vimra::imaproc::arithm
