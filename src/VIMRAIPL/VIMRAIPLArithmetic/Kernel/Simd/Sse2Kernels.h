#pragma once

// SSE2 kernels: the vector kernel bodies over the SSE2 layer, and the entry points
// that the level-3 classes call. Include only from files compiled for SSE2.

#include "Sse2Layer.h"

#define VIMRA_SIMD_NS sse2
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

namespace vimra::imaproc::arithm::kernel {

template <>
struct VectorBinary<eInstructionSet::eSSE2> {
    template <class Op, class A, class B, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::sse2::binaryKernel<Op, A, B, C>(args);
    }
};

template <>
struct VectorUnary<eInstructionSet::eSSE2> {
    template <class Op, class A, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::sse2::unaryKernel<Op, A, C>(args);
    }
};

}  // namespace vimra::imaproc::arithm::kernel
