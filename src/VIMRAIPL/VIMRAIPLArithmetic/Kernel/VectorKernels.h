#pragma once

// What the instruction-set kernels share with the baseline-compiled library.

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/FunctionSelector.h>

namespace vimra::imaproc::arithm::kernel {

/// The successful result every vector kernel returns. Defined out of line in a
/// file built for the baseline processor: ProcessingResult's inline constructor
/// (and std::string's) would otherwise be emitted by the kernel files as well,
/// compiled for a wider instruction set, and the linker may keep any one copy.
processor::ProcessingResult<bool> vectorKernelSuccess();

}  // namespace vimra::imaproc::arithm::kernel
