#pragma once

// Kernel signatures: which type parameter each strip of a level-3 class takes,
// and the compile-time tables of its kernels. Light on purpose: the
// instruction-set files include it, and everything inline here is either
// constexpr data or a template instantiated in those files' own namespaces.
//
//   Signature<Param<0>, Param<1>, Param<2>>   two inputs and an output, each its own type (343 kernels)
//   Signature<Param<0>, Param<0>, Param<1>>   two inputs sharing a type                     (49)
//   Signature<Fixed<float>, Param<0>>         typed by the output only                       (7)
//   Signature<Fixed<float>, Fixed<float>>     no type parameter                              (1)

#include <vimra/core/InstructionSet.h>
#include <vimra/image/BufferType.h>
#include <vimra/processor/FunctionSelector.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vimra::imaproc::arithm::kernel {

/// A strip typed by the kernel's type parameter K.
template <int K>
struct Param {
    static constexpr int s_param = K;
};
/// A strip of a fixed element type.
template <class T>
struct Fixed {
    static constexpr int s_param = processor::KernelSignature::s_fixed;
    using type = T;
};

template <class... Strips>
struct Signature {
    static constexpr int s_strips = sizeof...(Strips);
    static constexpr int s_params = [] {
        int n = 0;
        ((n = Strips::s_param + 1 > n ? Strips::s_param + 1 : n), ...);
        return n;
    }();
    static_assert(s_params <= processor::KernelSignature::s_maxParams);
};

/// Domains of the type parameters (bit e: element index e; see image::ElementTypeAt).
inline constexpr std::uint8_t s_allElements = processor::KernelSignature::s_allElements;
inline constexpr std::uint8_t s_floatOnly = std::uint8_t{1} << image::elementIndex(image::eImageBufferType::eFloat);

/// The default coverage of an instruction set: every element type, except AVX
/// (float arithmetic only, no 256-bit integer instructions) which covers float.
constexpr std::uint8_t defaultDomain(eInstructionSet::domain set, int /*param*/) {
    return set == eInstructionSet::eAVX ? s_floatOnly : s_allElements;
}

namespace detail {

constexpr int popcount(std::uint8_t m) {
    int n = 0;
    for (; m; m &= static_cast<std::uint8_t>(m - 1)) ++n;
    return n;
}
/// Element index of the r-th element of a domain.
constexpr int nthElement(std::uint8_t domain, int r) {
    for (int e = 0; e < 7; ++e)
        if ((domain >> e) & 1u) {
            if (r == 0) return e;
            --r;
        }
    return -1;
}

template <class Strip, class... P>
struct StripTypeOf {
    using type = typename Strip::type;  // Fixed<T>
};
template <int K, class... P>
struct StripTypeOf<Param<K>, P...> {
    using type = std::tuple_element_t<K, std::tuple<P...>>;
};

}  // namespace detail

/// Element type of strip `Strip` for parameter types P...
template <class Strip, class... P>
using StripType = typename detail::StripTypeOf<Strip, P...>::type;

template <int E>
using Element = typename image::ElementTypeAt<E>::type;

/// The run-time description of a signature under per-parameter domains.
template <class... Strips, std::size_t... K>
constexpr processor::KernelSignature makeKernelSignature(Signature<Strips...>,
                                                         [[maybe_unused]] std::array<std::uint8_t, sizeof...(K)> domains,
                                                         std::index_sequence<K...>) {
    processor::KernelSignature s{};
    s.params = static_cast<int>(sizeof...(K));
    ((s.domains[K] = domains[K]), ...);
    s.slots = static_cast<int>(sizeof...(Strips));
    int k = 0;
    ((s.slotParam[k] = static_cast<std::int8_t>(Strips::s_param),
      s.slotFixed[k] = Strips::s_param < 0 ? image::eImageBufferType::eFloat : image::eImageBufferType::eUInt8, ++k),
     ...);
    return s;
}

/// Every kernel of an arithmetic for instruction set S, indexed as
/// processor::registerKernelTable expects. `Entry<Arith, S>::template run<P...>`
/// is the kernel for parameter types P...
template <template <class, eInstructionSet::domain> class Entry, class Arith, eInstructionSet::domain S>
struct KernelTable {
    using Sig = typename Arith::Signature;
    static constexpr int s_params = Sig::s_params;

    static constexpr std::array<std::uint8_t, s_params> domains() {
        std::array<std::uint8_t, s_params> d{};
        for (int p = 0; p < s_params; ++p) d[static_cast<std::size_t>(p)] = Arith::domain(S, p);
        return d;
    }
    static constexpr std::array<std::uint8_t, s_params> s_domains = domains();
    static constexpr processor::KernelSignature s_signature =
        makeKernelSignature(Sig{}, s_domains, std::make_index_sequence<s_params>{});

    static constexpr std::size_t size() {
        std::size_t n = 1;
        for (int p = 0; p < s_params; ++p) n *= static_cast<std::size_t>(detail::popcount(s_domains[p]));
        return n;
    }
    /// Element index of parameter K in table entry I (parameter 0 most significant).
    template <std::size_t I, int K>
    static constexpr int elementOf() {
        std::size_t stride = 1;
        for (int p = K + 1; p < s_params; ++p) stride *= static_cast<std::size_t>(detail::popcount(s_domains[p]));
        const int size = detail::popcount(s_domains[K]);
        return detail::nthElement(s_domains[K], static_cast<int>((I / stride) % static_cast<std::size_t>(size)));
    }
    template <std::size_t I, int... K>
    static constexpr processor::AlgorithmFunction entry(std::integer_sequence<int, K...>) {
        return &Entry<Arith, S>::template run<Element<elementOf<I, K>()>...>;
    }
    template <std::size_t... I>
    static constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> make(std::index_sequence<I...>) {
        return {entry<I>(std::make_integer_sequence<int, s_params>{})...};
    }
    static constexpr auto s_table = make(std::make_index_sequence<size()>{});
    // Taken at compile time: std::array's accessors are inline functions shared by name.
    static constexpr const processor::AlgorithmFunction* s_data = s_table.data();
};

}  // namespace vimra::imaproc::arithm::kernel
