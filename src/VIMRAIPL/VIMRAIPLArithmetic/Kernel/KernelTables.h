#pragma once

// Compile-time tables of a level-3 class's standard element-type kernels
// (the instruction-set files build theirs in VectorRegistration.h), in the order registerKernelTable expects (first strip's
// element index most significant). Tables are constant data: building them runs
// no code, which matters in files compiled for wider instruction sets.

#include "GenericProcess.h"

#include <vimra/image/BufferType.h>

#include <array>
#include <cstddef>
#include <utility>

namespace vimra::imaproc::arithm::kernel {

template <std::size_t I>
using Elem = typename image::ElementTypeAt<static_cast<int>(I)>::type;

template <class Lvl3, eInstructionSet::domain S, std::size_t... I>
constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> unaryTable(std::index_sequence<I...>) {
    return {&Lvl3::template genericProcessFunction<Elem<I / 7>, Elem<I % 7>, S>...};
}

template <class Lvl3, eInstructionSet::domain S, std::size_t... I>
constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> binaryTable(std::index_sequence<I...>) {
    return {&Lvl3::template genericProcessFunction<Elem<I / 49>, Elem<(I / 7) % 7>, Elem<I % 7>, S>...};
}

/// Every element-type combination of a one- or two-input level-3 class.
template <class Lvl3, eInstructionSet::domain S, int Inputs>
struct KernelTable;
template <class Lvl3, eInstructionSet::domain S>
struct KernelTable<Lvl3, S, 1> {
    static constexpr auto s_table = unaryTable<Lvl3, S>(std::make_index_sequence<49>{});
    static constexpr int s_arity = 2;
};
template <class Lvl3, eInstructionSet::domain S>
struct KernelTable<Lvl3, S, 2> {
    static constexpr auto s_table = binaryTable<Lvl3, S>(std::make_index_sequence<343>{});
    static constexpr int s_arity = 3;
};

/// Registers the kernels of `Lvl3` for instruction set S when the processor offers it.
template <class Lvl3, eInstructionSet::domain S>
processor::KernelTableRegistration registerKernels() {
    using Table = KernelTable<Lvl3, S, Lvl3::Operation::Shape::Inputs::size>;
    return processor::KernelTableRegistration(&Lvl3::retrieveFunctionSelector, S, Table::s_table.data(),
                                              Table::s_arity);
}

}  // namespace vimra::imaproc::arithm::kernel
