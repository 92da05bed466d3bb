#include "VectorKernels.h"

namespace vimra::imaproc::arithm::kernel {

processor::ProcessingResult<bool> vectorKernelSuccess() {
    return {true, true};
}

}  // namespace vimra::imaproc::arithm::kernel
