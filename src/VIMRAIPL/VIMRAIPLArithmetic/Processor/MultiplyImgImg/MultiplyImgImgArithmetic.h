#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// a * b in the computation type; integer products keep their low bits.
struct MultiplyImgImgArithmetic : kernel::BinaryInComputationType {
    template <class TC>
    static constexpr TC apply(TC a, TC b) {
        return kernel::wrapMultiply(a, b);
    }

    /// Vector face: V is an instruction set's block of computation-type lanes
    /// (low bits of each product).
    template <class V>
    static V applyVector(const V& a, const V& b) {
        return lanewise(a, b, [](auto lanes, auto x, auto y) { return multiply(lanes, x, y); });
    }
};

}  // namespace vimra::imaproc::arithm
