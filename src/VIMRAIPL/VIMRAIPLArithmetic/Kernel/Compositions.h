#pragma once

// The per-pixel composition of each operation family, written once: convert the
// inputs, apply the operation's scalar face, convert to the output. The portable
// kernels call `pixel` in their loop and a GPU kernel calls the same function per
// thread, so both compute every pixel alike. Each family's vector counterpart is
// in Simd/VectorBody.h, chosen by the family's tag.
//
// An operation's arithmetic derives from its family and adds its faces:
//   struct AddImgImgArithmetic : kernel::BinaryInComputationType {
//       template <class TC> static constexpr TC apply(TC a, TC b);   // scalar face
//       template <class V> static V applyVector(const V& a, const V& b);  // vector face
//   };
// An arithmetic with parameters also defines
//   template <eInstructionSet::domain S, class... T> struct Bound
// built once per strip from the kernel parameters (processor::KernelParams) for
// the strips' element types T... and holding the per-strip constants; its faces
// are then member functions. (S keeps each instruction set's copy its own.)

#include "ScalarArithmetic.h"
#include "Signature.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#if defined(__CUDACC__)
#define VIMRA_HOST_DEVICE __host__ __device__
#else
#define VIMRA_HOST_DEVICE
#endif

namespace vimra::imaproc::arithm::kernel {

namespace tags {
struct BinaryInComputationType {};
struct UnaryConvert {};
struct SharedTypeConvert {};
struct FloatPairToPair {};
struct BinaryInComparisonType {};
struct BinaryInFloat {};
struct ComplexPairInFloat {};
}  // namespace tags

/// The two results of a pixel (or of a block of pixels).
template <class T>
struct Pair {
    T first;
    T second;
};

/// What every family states by default: instruction-set coverage.
struct FamilyDefaults {
    static constexpr std::uint8_t domain(eInstructionSet::domain set, int param) { return defaultDomain(set, param); }
};

/// Two inputs, one output, each its own type; both operands converted to the
/// computation type of the three (ComputationType), the result narrowed to the
/// output by the standard conversion (wrap-around; the vector kernels saturate).
struct BinaryInComputationType : FamilyDefaults {
    using Tag = tags::BinaryInComputationType;
    using Signature = kernel::Signature<Param<0>, Param<1>, Param<2>>;
    static constexpr int s_inputs = 2;

    template <class Op, class A, class B, class C>
    VIMRA_HOST_DEVICE static constexpr void pixel(const Op& op, std::uint64_t i, const A* a, const B* b, C* c) {
        using TC = ComputationTypeT<A, B, C>;
        c[i] = narrowWrap<C>(op.apply(toComputation<TC>(a[i]), toComputation<TC>(b[i])));
    }
};

/// One input, one output: the operation's scalar face converts to the output
/// type itself (`apply<TOut>(x)`); its vector face returns a block of the value
/// type, which the kernel converts.
struct UnaryConvert : FamilyDefaults {
    using Tag = tags::UnaryConvert;
    using Signature = kernel::Signature<Param<0>, Param<1>>;
    static constexpr int s_inputs = 1;

    template <class Op, class A, class C>
    VIMRA_HOST_DEVICE static constexpr void pixel(const Op& op, std::uint64_t i, const A* a, C* c) {
        c[i] = op.template apply<C>(a[i]);
    }
};

/// Two or three inputs of one type and an output of its own: the operation's
/// scalar face converts to the output type itself (`apply<TOut>(a, b[, c])`); its
/// vector face returns a block of the value type, which the kernel converts.
template <int N>
struct SharedTypeConvert : FamilyDefaults {
    static_assert(N == 2 || N == 3);
    using Tag = tags::SharedTypeConvert;
    using Signature = std::conditional_t<N == 2, kernel::Signature<Param<0>, Param<0>, Param<1>>,
                                         kernel::Signature<Param<0>, Param<0>, Param<0>, Param<1>>>;
    static constexpr int s_inputs = N;

    template <class Op, class A, class C>
    VIMRA_HOST_DEVICE static void pixel(const Op& op, std::uint64_t i, const A* a, const A* b, C* c) {
        c[i] = op.template apply<C>(a[i], b[i]);
    }
    template <class Op, class A, class C>
    VIMRA_HOST_DEVICE static void pixel(const Op& op, std::uint64_t i, const A* a, const A* b, const A* d, C* c) {
        c[i] = op.template apply<C>(a[i], b[i], d[i]);
    }
};

/// Two float inputs, two float outputs, no type parameter: the operation's faces
/// return both results as a Pair. Both inputs are read before either output is
/// written, so an output may be one of the inputs.
struct FloatPairToPair : FamilyDefaults {
    using Tag = tags::FloatPairToPair;
    using Signature = kernel::Signature<Fixed<float>, Fixed<float>, Fixed<float>, Fixed<float>>;
    static constexpr int s_inputs = 2;

    template <class Op>
    VIMRA_HOST_DEVICE static void pixel(const Op& op, std::uint64_t i, const float* a, const float* b, float* c,
                                        float* d) {
        const Pair<float> r = op.apply(a[i], b[i]);
        c[i] = r.first;
        d[i] = r.second;
    }
};

/// Two inputs, one output, each its own type: the operation selects between the
/// two values in their comparison type (ComparisonType, built from the inputs
/// only), and the selected value is converted to the output like a two-input
/// result (wrap-around; the vector kernels saturate).
struct BinaryInComparisonType : FamilyDefaults {
    using Tag = tags::BinaryInComparisonType;
    using Signature = kernel::Signature<Param<0>, Param<1>, Param<2>>;
    static constexpr int s_inputs = 2;

    template <class Op, class A, class B, class C>
    VIMRA_HOST_DEVICE static constexpr void pixel(const Op& op, std::uint64_t i, const A* a, const B* b, C* c) {
        using TK = ComparisonTypeT<A, B>;
        c[i] = narrowWrap<C>(op.apply(static_cast<TK>(a[i]), static_cast<TK>(b[i])));
    }
};

/// Two inputs, one output, each its own type: both inputs converted to float, and
/// the operation's scalar face computes and converts to the output type itself
/// (`apply<TOut>(a, b)`); its vector face likewise returns a block of the output type.
struct BinaryInFloat : FamilyDefaults {
    using Tag = tags::BinaryInFloat;
    using Signature = kernel::Signature<Param<0>, Param<1>, Param<2>>;
    static constexpr int s_inputs = 2;

    template <class Op, class A, class B, class C>
    VIMRA_HOST_DEVICE static constexpr void pixel(const Op& op, std::uint64_t i, const A* a, const B* b, C* c) {
        c[i] = op.template apply<C>(toComputation<float>(a[i]), toComputation<float>(b[i]));
    }
};

/// Two float results of one pixel.
struct FloatPair {
    float first;
    float second;
};

/// Four inputs (two pairs, each pair of one type) and two outputs of one type:
/// every input converted to float, two float results (`apply(a, b, c, d)` gives a
/// FloatPair), each converted to the output like a one-input value (truncation
/// to 32 bits, then the low bits; the vector kernels saturate).
struct ComplexPairInFloat : FamilyDefaults {
    using Tag = tags::ComplexPairInFloat;
    using Signature = kernel::Signature<Param<0>, Param<0>, Param<1>, Param<1>, Param<2>, Param<2>>;
    static constexpr int s_inputs = 4;

    template <class Op, class A, class B, class C>
    VIMRA_HOST_DEVICE static constexpr void pixel(const Op& op, std::uint64_t i, const A* a, const A* b, const B* c,
                                                  const B* d, C* first, C* second) {
        const FloatPair r = op.apply(toComputation<float>(a[i]), toComputation<float>(b[i]),
                                     toComputation<float>(c[i]), toComputation<float>(d[i]));
        first[i] = convertWrap<C>(r.first);
        second[i] = convertWrap<C>(r.second);
    }
};

#include "StripBinding.inc"

}  // namespace vimra::imaproc::arithm::kernel
