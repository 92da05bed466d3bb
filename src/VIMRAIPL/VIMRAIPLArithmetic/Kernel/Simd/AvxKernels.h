#pragma once

// AVX kernels: the vector kernel bodies over the AVX layer, for float inputs and
// output only, and the entry points that the level-3 classes call. Include only
// from files compiled for AVX.

#include "AvxLayer.h"

#define VIMRA_SIMD_NS avx
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

#include <type_traits>

namespace vimra::imaproc::arithm::kernel {

template <>
struct VectorBinary<eInstructionSet::eAVX> {
    template <class Op, class A, class B, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        static_assert(
            std::is_same_v<A, float> && std::is_same_v<B, float> && std::is_same_v<C, float>,
            "AVX kernels exist for float inputs and output only");
        return simd::avx::binaryKernel<Op, A, B, C>(args);
    }
};

template <>
struct VectorUnary<eInstructionSet::eAVX> {
    template <class Op, class A, class C>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        static_assert(std::is_same_v<A, float> && std::is_same_v<C, float>,
                      "AVX kernels exist for float input and output only");
        return simd::avx::unaryKernel<Op, A, C>(args);
    }
};

}  // namespace vimra::imaproc::arithm::kernel
