#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// s = second * (1 - a) + first * a in single precision, each product rounded,
/// with 1 - a computed once per strip. Integer outputs take s truncated toward
/// zero to 32 bits: its low bits on the standard path, saturated by the vector
/// packs on the others.
struct BlendImgImgArithmetic : kernel::BinaryInFloat {
    template <eInstructionSet::domain, class... T>
    struct Bound {
        explicit Bound(const processor::KernelParams& p)
            : a(static_cast<float>(p.values[0])), oneMinusA(1.0f - a) {}

        template <class C>
        constexpr C apply(float first, float second) const {
            return kernel::convertWrap<C>(second * oneMinusA + first * a);
        }

        template <class C, class V>
        auto applyVector(const V& first, const V& second) const {
            return convert<C>(lanewise(first, second, [this](auto f, auto x, auto y) {
                return add(f, multiply(f, y, broadcast(f, oneMinusA)), multiply(f, x, broadcast(f, a)));
            }));
        }

        float a;
        float oneMinusA;
    };
};

}  // namespace vimra::imaproc::arithm
