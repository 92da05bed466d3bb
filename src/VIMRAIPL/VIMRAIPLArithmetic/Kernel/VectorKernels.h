#pragma once

// Entry points of the instruction-set kernels. Each instruction set specialises
// these templates in its own header (Simd/<Set>Kernels.h), which only files
// compiled with that set's flags include.

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/FunctionSelector.h>

namespace vimra::imaproc::arithm::kernel {

/// VectorBinary<S>::run<Op, A, B, C>(args): two inputs, one output.
template <eInstructionSet::domain S>
struct VectorBinary;

/// VectorUnary<S>::run<Op, A, C>(args): one input, one output.
template <eInstructionSet::domain S>
struct VectorUnary;

/// The successful result every vector kernel returns. Defined out of line in a
/// file built for the baseline processor: ProcessingResult's inline constructor
/// (and std::string's) would otherwise be emitted by the kernel files as well,
/// compiled for a wider instruction set, and the linker may keep any one copy.
processor::ProcessingResult<bool> vectorKernelSuccess();

}  // namespace vimra::imaproc::arithm::kernel
