// The SSE2 layer's conversions for the tests. Compiled with the SSE2 flags.

#include <Kernel/Simd/Sse2Kernels.h>

#define VIMRA_TEST_NS sse2
#include "LayerProbes.inc"

namespace vimra::arithm_test {
constexpr LayerProbes g_sse2Probes =
    simd::sse2::test::makeProbes(std::make_index_sequence<s_pairs>{});
}  // namespace vimra::arithm_test
