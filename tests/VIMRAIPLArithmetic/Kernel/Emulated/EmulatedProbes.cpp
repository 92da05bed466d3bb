// The layer conversions of the emulated AVX-512 build.

#include "EmulatedAvx512.h"

#define VIMRA_TEST_NS avx512emu
#include "../LayerProbes.inc"

namespace vimra::arithm_test {
constexpr LayerProbes g_avx512EmulatedProbes =
    simd::avx512emu::test::makeProbes(std::make_index_sequence<s_pairs>{});
}  // namespace vimra::arithm_test
