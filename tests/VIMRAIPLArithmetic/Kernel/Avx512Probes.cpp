// The AVX-512 layer's conversions for the tests. Compiled with the AVX-512 flags.

#include <Kernel/Simd/Avx512Kernels.h>

#define VIMRA_TEST_NS avx512
#include "LayerProbes.inc"

namespace vimra::arithm_test {
constexpr LayerProbes g_avx512Probes =
    simd::avx512::test::makeProbes(std::make_index_sequence<s_pairs>{});
}  // namespace vimra::arithm_test
