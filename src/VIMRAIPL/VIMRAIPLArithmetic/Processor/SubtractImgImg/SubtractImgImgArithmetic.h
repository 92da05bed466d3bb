#pragma once

#include "../../Kernel/Compositions.h"

namespace vimra::imaproc::arithm {

/// a - b in the computation type, wrapping for integers.
struct SubtractImgImgArithmetic : kernel::BinaryInComputationType {
    template <class TC>
    static constexpr TC apply(TC a, TC b) {
        return kernel::wrapSubtract(a, b);
    }

    /// Vector face: V is an instruction set's block of computation-type lanes.
    template <class V>
    static V applyVector(const V& a, const V& b) {
        return lanewise(a, b, [](auto lanes, auto x, auto y) { return subtract(lanes, x, y); });
    }
};

}  // namespace vimra::imaproc::arithm
