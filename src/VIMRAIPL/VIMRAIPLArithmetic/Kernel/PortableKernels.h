#pragma once

// Kernel loops of the standard instruction set: one plain loop over exactly
// `count` elements, per-pixel arithmetic taken from the operation's scalar face.

#include "ScalarArithmetic.h"

#include <vimra/processor/FunctionSelector.h>

namespace vimra::imaproc::arithm::kernel {

using processor::KernelArgs;
using processor::ProcessingResult;

/// Two inputs, one output: out[i] = narrowWrap<C>(Op::apply<TC>(TC(a[i]), TC(b[i]))).
template <class Op, class A, class B, class C>
ProcessingResult<bool> portableBinary(const KernelArgs& args) {
    using TC = ComputationTypeT<A, B, C>;
    const A* a = static_cast<const A*>(args.in[0]);
    const B* b = static_cast<const B*>(args.in[1]);
    C* out = static_cast<C*>(args.out[0]);
    for (std::uint64_t i = 0, n = args.info.count; i < n; ++i) {
        out[i] = narrowWrap<C>(Op::apply(toComputation<TC>(a[i]), toComputation<TC>(b[i])));
    }
    return {true, true};
}

/// One input, one output: out[i] = Op::apply<C>(a[i]); the operation converts.
template <class Op, class A, class C>
ProcessingResult<bool> portableUnary(const KernelArgs& args) {
    const A* a = static_cast<const A*>(args.in[0]);
    C* out = static_cast<C*>(args.out[0]);
    for (std::uint64_t i = 0, n = args.info.count; i < n; ++i) {
        out[i] = Op::template apply<C>(a[i]);
    }
    return {true, true};
}

}  // namespace vimra::imaproc::arithm::kernel
