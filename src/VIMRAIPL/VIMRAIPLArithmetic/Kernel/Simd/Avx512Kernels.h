#pragma once

// AVX-512 kernels: the vector kernel bodies over the AVX-512 layer, and the entry points
// that the level-3 classes call. Include only from files compiled for AVX-512.

#include "Avx512Layer.h"

#define VIMRA_SIMD_NS avx512
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

namespace vimra::imaproc::arithm::kernel {

template <>
struct VectorBinary<eInstructionSet::eAVX512> {
    template <class Op, class A, class B, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::avx512::binaryKernel<Op, A, B, C>(args);
    }
};

template <>
struct VectorUnary<eInstructionSet::eAVX512> {
    template <class Op, class A, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return simd::avx512::unaryKernel<Op, A, C>(args);
    }
};

}  // namespace vimra::imaproc::arithm::kernel
