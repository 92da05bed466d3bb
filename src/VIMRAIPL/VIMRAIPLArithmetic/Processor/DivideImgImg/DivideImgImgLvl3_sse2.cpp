// SSE2 kernels of DivideImgImgLvl3: every element-type combination. Compiled with the SSE2 flags;
// registered at load time only where the processor offers SSE2. Includes nothing
// but the kernels, the arithmetic and the registration helper (see
// Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/Sse2Kernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "DivideImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class DivideImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<DivideImgImgLvl3, DivideImgImgArithmetic, eInstructionSet::eSSE2,
                                  2>();
}  // namespace

}  // namespace vimra::imaproc::arithm
