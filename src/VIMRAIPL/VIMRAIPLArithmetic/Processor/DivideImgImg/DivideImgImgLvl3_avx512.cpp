// AVX-512 kernels of DivideImgImgLvl3: every element-type combination. Compiled with the AVX-512
// flags; registered at load time only where the processor offers AVX-512. Includes nothing but the
// kernels, the arithmetic and the registration helper (see Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/Avx512Kernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "DivideImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class DivideImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<DivideImgImgLvl3, DivideImgImgArithmetic,
                                  eInstructionSet::eAVX512, 2>();
}  // namespace

}  // namespace vimra::imaproc::arithm
