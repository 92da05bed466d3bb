// AVX-512 kernels of SubtractImgImgLvl3: every element-type combination. Compiled with the AVX-512
// flags; registered at load time only where the processor offers AVX-512. Includes nothing but the
// kernels, the arithmetic and the registration helper (see Kernel/VectorRegistration.h).

#include "../../Kernel/Simd/Avx512Kernels.h"

#include "../../Kernel/VectorRegistration.h"
#include "SubtractImgImgArithmetic.h"

namespace vimra::imaproc::arithm {

class SubtractImgImgLvl3;

namespace {
const processor::KernelTableRegistration registration =
    kernel::registerVectorKernels<SubtractImgImgLvl3, SubtractImgImgArithmetic,
                                  eInstructionSet::eAVX512, 2>();
}  // namespace

}  // namespace vimra::imaproc::arithm
