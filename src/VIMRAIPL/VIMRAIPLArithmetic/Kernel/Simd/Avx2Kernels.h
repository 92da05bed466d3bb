#pragma once

// AVX2 kernels: the vector kernel bodies over the AVX2 layer, and the entry points
// that the level-3 classes call. Include only from files compiled for AVX2.

#include "Avx2Layer.h"

#define VIMRA_SIMD_NS avx2
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

namespace vimra::imaproc::arithm::kernel {

template <>
struct VectorBinary<eInstructionSet::eAVX2> {
    template <class Op, class A, class B, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::avx2::binaryKernel<Op, A, B, C>(args);
    }
};

template <>
struct VectorUnary<eInstructionSet::eAVX2> {
    template <class Op, class A, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::avx2::unaryKernel<Op, A, C>(args);
    }
};

}  // namespace vimra::imaproc::arithm::kernel
