#pragma once

// Registration of an instruction-set file's kernels. The instruction-set files
// include this header, their set's Simd/<Set>Kernels.h and the operation's
// arithmetic, and nothing else: every inline function they use is emitted
// compiled for their set, and the linker keeps one copy of each inline function
// shared by name across files. A level-3 class header (with the framework and
// Boost behind it) would bring such shared functions in, compiled for AVX-512,
// for every caller in the library; here they only name the level-3 class.

#include "VectorKernels.h"

#include <vimra/image/BufferType.h>

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace vimra::imaproc::arithm::kernel {

/// Lvl3::retrieveFunctionSelector(), defined in VectorRegistration.cpp (built for
/// the baseline processor) and explicitly instantiated there for each level-3
/// class, so that the instruction-set files only refer to it.
template <class Lvl3>
processor::AlgorithmFunctionSelector& functionSelectorOf();

template <std::size_t I>
using VectorElem = typename image::ElementTypeAt<static_cast<int>(I)>::type;

/// The vector kernels of set S for every element-type combination, in the order
/// registerKernelTable expects (first strip's element index most significant).
template <class Arithmetic, eInstructionSet::domain S, int Inputs>
struct VectorKernelTable;

template <class Arithmetic, eInstructionSet::domain S>
struct VectorKernelTable<Arithmetic, S, 1> {
    template <std::size_t... I>
    static constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> make(
        std::index_sequence<I...>) {
        return {&VectorUnary<S>::template run<Arithmetic, VectorElem<I / 7>, VectorElem<I % 7>>...};
    }
    static constexpr auto s_allKernels = make(std::make_index_sequence<49>{});
    static constexpr std::array<processor::AlgorithmFunction, 1> s_floatKernels = {
        &VectorUnary<S>::template run<Arithmetic, float, float>};
    // Taken at compile time: std::array's accessors are inline functions shared by name.
    static constexpr const processor::AlgorithmFunction* s_all = s_allKernels.data();
    static constexpr const processor::AlgorithmFunction* s_float = s_floatKernels.data();
};

template <class Arithmetic, eInstructionSet::domain S>
struct VectorKernelTable<Arithmetic, S, 2> {
    template <std::size_t... I>
    static constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> make(
        std::index_sequence<I...>) {
        return {&VectorBinary<S>::template run<Arithmetic, VectorElem<I / 49>,
                                               VectorElem<(I / 7) % 7>, VectorElem<I % 7>>...};
    }
    static constexpr auto s_allKernels = make(std::make_index_sequence<343>{});
    static constexpr std::array<processor::AlgorithmFunction, 1> s_floatKernels = {
        &VectorBinary<S>::template run<Arithmetic, float, float, float>};
    static constexpr const processor::AlgorithmFunction* s_all = s_allKernels.data();
    static constexpr const processor::AlgorithmFunction* s_float = s_floatKernels.data();
};

/// Registers the kernels of set S for the level-3 class Lvl3 (whose per-pixel
/// arithmetic is Arithmetic, with `Inputs` inputs) when the processor offers S:
/// every element-type combination, or with `OnlyFloat` the all-float one.
template <class Lvl3, class Arithmetic, eInstructionSet::domain S, int Inputs,
          bool OnlyFloat = false>
processor::KernelTableRegistration registerVectorKernels() {
    using Table = VectorKernelTable<Arithmetic, S, Inputs>;
    if constexpr (OnlyFloat) {
        return processor::KernelTableRegistration(&functionSelectorOf<Lvl3>, S, Table::s_float,
                                                  Inputs + 1, true);
    } else {
        return processor::KernelTableRegistration(&functionSelectorOf<Lvl3>, S, Table::s_all,
                                                  Inputs + 1);
    }
}

}  // namespace vimra::imaproc::arithm::kernel
