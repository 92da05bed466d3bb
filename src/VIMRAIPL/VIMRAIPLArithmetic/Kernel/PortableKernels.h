#pragma once

// The standard (portable) kernel of every operation: one plain loop over exactly
// `count` elements, each pixel computed by the family's composition.

#include "Compositions.h"

#include <utility>

namespace vimra::imaproc::arithm::kernel {

template <class Arith, class Op, class... Ptr>
void portableLoop(const Op& op, std::uint64_t count, Ptr... strips) {
    for (std::uint64_t i = 0; i < count; ++i) Arith::pixel(op, i, strips...);
}

template <class Arith, class... T, std::size_t... K>
processor::ProcessingResult<bool> portableKernel(const processor::KernelArgs& args, std::index_sequence<K...>) {
    portableLoop<Arith>(bindStrip<Arith, eInstructionSet::eStandard, T...>(args.params), args.info.count,
                        stripAt<T, K, Arith::s_inputs>(args)...);
    return {true, true};
}

/// The standard kernel entry of an arithmetic, for parameter types P...
template <class Arith, eInstructionSet::domain S>
struct PortableEntry {
    template <class... P>
    static processor::ProcessingResult<bool> run(const processor::KernelArgs& args) {
        return runStrips<StripTypeList<typename Arith::Signature, P...>>(args);
    }

private:
    template <class Sig, class... P>
    struct StripTypeListOf;
    template <class... Strips, class... Q>
    struct StripTypeListOf<Signature<Strips...>, Q...> {
        using type = std::tuple<StripType<Strips, Q...>...>;
    };
    template <class Sig, class... P>
    using StripTypeList = typename StripTypeListOf<Sig, P...>::type;

    template <class Tuple>
    static processor::ProcessingResult<bool> runStrips(const processor::KernelArgs& args) {
        return [&]<class... T>(std::tuple<T...>*) {
            return portableKernel<Arith, T...>(args, std::index_sequence_for<T...>{});
        }(static_cast<Tuple*>(nullptr));
    }
};

}  // namespace vimra::imaproc::arithm::kernel
