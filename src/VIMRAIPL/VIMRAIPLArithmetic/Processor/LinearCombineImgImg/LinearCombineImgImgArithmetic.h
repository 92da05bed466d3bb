#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// s = first * f1 + second * f2 in single precision (two rounded products, then
/// their sum). Integer outputs round half away from zero and saturate to the
/// output type, NaN giving 0, with the same result on every instruction set.
struct LinearCombineImgImgArithmetic : kernel::BinaryInFloat {
    template <eInstructionSet::domain, class... T>
    struct Bound {
        explicit Bound(const processor::KernelParams& p)
            : f1(static_cast<float>(p.values[0])), f2(static_cast<float>(p.values[1])) {}

        template <class C>
        constexpr C apply(float first, float second) const {
            return kernel::roundAndSaturate<C>(first * f1 + second * f2);
        }

        template <class C, class V>
        auto applyVector(const V& first, const V& second) const {
            return roundAndSaturate<C>(lanewise(first, second, [this](auto f, auto x, auto y) {
                return add(f, multiply(f, x, broadcast(f, f1)), multiply(f, y, broadcast(f, f2)));
            }));
        }

        float f1;
        float f2;
    };
};

}  // namespace vimra::imaproc::arithm
