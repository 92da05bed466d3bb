#pragma once

// What an operation's kernel files hold, written once. Each file is a stub:
//
//   <Op>Lvl3.cpp            #include <.../Processor/<Op>/<Op>Lvl3.h>
//                           #include "<Op>Arithmetic.h"
//                           VIMRA_ARITHM_LEVEL3(<Op>)
//
//   <Op>Lvl3_<set>.cpp      #include "../../Kernel/Simd/<Set>Kernels.h"
//                           #include "<Op>Arithmetic.h"
//                           VIMRA_ARITHM_ISA_KERNELS(<Op>)
//
// The instruction-set files include nothing but their set's kernels, this file
// and the arithmetic: every inline function they instantiate is then their set's
// own (named by its namespace or its instruction-set argument), and their static
// initialiser only hands constant tables to the baseline-compiled framework,
// which registers them where the processor offers the set.

#include "Signature.h"

#include <vimra/processor/FunctionSelector.h>

namespace vimra::imaproc::arithm::kernel {

/// Lvl3::retrieveFunctionSelector(), explicitly instantiated by the class's
/// standard file (VIMRA_ARITHM_LEVEL3), so that instruction-set files only
/// refer to it.
template <class Lvl3>
processor::AlgorithmFunctionSelector& functionSelectorOf();

}  // namespace vimra::imaproc::arithm::kernel

#define VIMRA_ARITHM_KERNEL_TABLE(Op, Entry, Set) \
    ::vimra::imaproc::arithm::kernel::KernelTable<Entry, ::vimra::imaproc::arithm::Op##Arithmetic, Set>

/// Registers the kernels of the including file's instruction set for <Op>Lvl3.
#define VIMRA_ARITHM_ISA_KERNELS(Op)                                                                        \
    namespace vimra::imaproc::arithm {                                                                      \
    class Op##Lvl3;                                                                                         \
    namespace {                                                                                             \
    const ::vimra::processor::KernelTableRegistration g_##Op##Kernels(                                      \
        &kernel::functionSelectorOf<Op##Lvl3>, VIMRA_KERNEL_SET,                                            \
        VIMRA_ARITHM_KERNEL_TABLE(Op, VIMRA_KERNEL_ENTRY, VIMRA_KERNEL_SET)::s_data,                        \
        VIMRA_ARITHM_KERNEL_TABLE(Op, VIMRA_KERNEL_ENTRY, VIMRA_KERNEL_SET)::s_signature);                  \
    }                                                                                                       \
    }
