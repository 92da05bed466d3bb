#pragma once

// Definitions of the level-3 classes' typed kernel entry for the standard set:
// the portable loop. The instruction-set files register their vector loops
// directly (VectorRegistration.h) so that they never include the level classes'
// headers, whose inline code must not be compiled with wider instruction sets.

#include "PortableKernels.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

template <class Arithmetic>
template <class TIn, class TOut, eInstructionSet::domain S>
ProcessingResult<bool> GenericProcess<Arithmetic, 1>::genericProcessFunction(const processor::KernelArgs& args) {
    static_assert(S == eInstructionSet::eStandard, "vector kernels are registered by their instruction-set files");
    return kernel::portableUnary<Arithmetic, TIn, TOut>(args);
}

template <class Arithmetic>
template <class TIn1, class TIn2, class TOut, eInstructionSet::domain S>
ProcessingResult<bool> GenericProcess<Arithmetic, 2>::genericProcessFunction(const processor::KernelArgs& args) {
    static_assert(S == eInstructionSet::eStandard, "vector kernels are registered by their instruction-set files");
    return kernel::portableBinary<Arithmetic, TIn1, TIn2, TOut>(args);
}

}  // namespace vimra::imaproc::arithm
