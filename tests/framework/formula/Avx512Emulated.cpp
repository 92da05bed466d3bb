// The AVX-512 evaluator compiled a second time, for the baseline processor,
// against SIMDe (SIMD Everywhere), which implements the _mm512_* intrinsics in
// portable code: its loops then run, and are tested, on any processor. The real
// AVX-512 build is tested only where the processor has it.

#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512.h>

#include "Kernels.h"

// The two conversions SIMDe 0.7.4 lacks, over its 256-bit halves.
namespace vimra::formula::test::avx512fill {
inline __m256 half(__m512 x, int upper) {
    const __m512i bits = _mm512_castps_si512(x);
    return _mm256_castsi256_ps(upper ? _mm512_extracti64x4_epi64(bits, 1)
                                     : _mm512_castsi512_si256(bits));
}
inline __m512i join(__m256i lo, __m256i hi) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(lo), hi, 1);
}
inline __m512i cvttps_epi32(__m512 x) {
    return join(_mm256_cvttps_epi32(half(x, 0)), _mm256_cvttps_epi32(half(x, 1)));
}
inline __m512 cvtepi32_ps(__m512i x) {
    const __m512i f =
        join(_mm256_castps_si256(_mm256_cvtepi32_ps(_mm512_castsi512_si256(x))),
             _mm256_castps_si256(_mm256_cvtepi32_ps(_mm512_extracti64x4_epi64(x, 1))));
    return _mm512_castsi512_ps(f);
}
}  // namespace vimra::formula::test::avx512fill
#define _mm512_cvttps_epi32 vimra::formula::test::avx512fill::cvttps_epi32
#define _mm512_cvtepi32_ps vimra::formula::test::avx512fill::cvtepi32_ps

#define VIMRA_FORMULA_AVX512_NS avx512emu
#define VIMRA_FORMULA_AVX512_TABLE avx512EmulatedKernels
#define VIMRA_FORMULA_AVX512_TAIL eInstructionSet::eStandard
#define VIMRA_FORMULA_AVX512_MASK simde__mmask16

namespace vimra::formula::detail {
const KernelTable& avx512EmulatedKernels();
}

#include "EvalAvx512.cpp"
