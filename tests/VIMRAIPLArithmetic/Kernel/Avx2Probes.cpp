// The AVX2 layer's conversions for the tests. Compiled with the AVX2 flags.

#include <Kernel/Simd/Avx2Kernels.h>

#define VIMRA_TEST_NS avx2
#include "LayerProbes.inc"

namespace vimra::arithm_test {
constexpr LayerProbes g_avx2Probes =
    simd::avx2::test::makeProbes(std::make_index_sequence<s_pairs>{});
}  // namespace vimra::arithm_test
