#pragma once

// Definitions of the level-3 classes' typed kernel entry: the standard set runs
// the portable loop, every other set the vector loop of that set. The
// instruction-set files register the vector loops directly (VectorRegistration.h)
// so that they never include the level classes' headers.

#include "PortableKernels.h"
#include "VectorKernels.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm {

template <class Arithmetic>
template <class TIn, class TOut, eInstructionSet::domain S>
ProcessingResult<bool> GenericProcess<Arithmetic, 1>::genericProcessFunction(const processor::KernelArgs& args) {
    if constexpr (S == eInstructionSet::eStandard) {
        return kernel::portableUnary<Arithmetic, TIn, TOut>(args);
    } else {
        return kernel::VectorUnary<S>::template run<Arithmetic, TIn, TOut>(args);
    }
}

template <class Arithmetic>
template <class TIn1, class TIn2, class TOut, eInstructionSet::domain S>
ProcessingResult<bool> GenericProcess<Arithmetic, 2>::genericProcessFunction(const processor::KernelArgs& args) {
    if constexpr (S == eInstructionSet::eStandard) {
        return kernel::portableBinary<Arithmetic, TIn1, TIn2, TOut>(args);
    } else {
        return kernel::VectorBinary<S>::template run<Arithmetic, TIn1, TIn2, TOut>(args);
    }
}

}  // namespace vimra::imaproc::arithm
