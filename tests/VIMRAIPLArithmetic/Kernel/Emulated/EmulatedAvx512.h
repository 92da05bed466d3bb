#pragma once

// The AVX-512 kernels compiled a second time, for the baseline processor, against
// SIMDe (SIMD Everywhere), which implements the _mm512_* intrinsics in portable
// code: their bodies and most of their layer then run, and are tested, on any
// processor. The real AVX-512 build is tested only where the processor has it.

#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512.h>

// SIMDe 0.7.4 aliases the native vector types (__m512, ...) but not the mask
// types; the layer names them natively, as its real build does.
typedef simde__mmask16 __mmask16;

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Intrinsics that SIMDe 0.7.4 does not provide, written from Intel's definitions
// over SIMDe's 256-bit ones or lane by lane. _mm512_cvttps_epu32 in particular is
// therefore checked here against the same rule it was written from: only real
// AVX-512 hardware checks the processor's behaviour.
namespace vimra::simd::avx512emu_fill {

inline __m512i join(__m256i lo, __m256i hi) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(lo), hi, 1);
}
inline __m512 join(__m256 lo, __m256 hi) {
    return _mm512_castsi512_ps(join(_mm256_castps_si256(lo), _mm256_castps_si256(hi)));
}
inline __m256 lowF(__m512 x) {
    return _mm256_castsi256_ps(_mm512_castsi512_si256(_mm512_castps_si512(x)));
}
inline __m256 highF(__m512 x) {
    return _mm256_castsi256_ps(_mm512_extracti64x4_epi64(_mm512_castps_si512(x), 1));
}

inline __m512i cvtepu8_epi16(__m256i x) {
    return join(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(x)),
                _mm256_cvtepu8_epi16(_mm256_extracti128_si256(x, 1)));
}
inline __m512i cvtepi16_epi32(__m256i x) {
    return join(_mm256_cvtepi16_epi32(_mm256_castsi256_si128(x)),
                _mm256_cvtepi16_epi32(_mm256_extracti128_si256(x, 1)));
}
inline __m512i cvtepu16_epi32(__m256i x) {
    return join(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(x)),
                _mm256_cvtepu16_epi32(_mm256_extracti128_si256(x, 1)));
}
inline __m512 cvtepi32_ps(__m512i x) {
    return join(_mm256_cvtepi32_ps(_mm512_castsi512_si256(x)),
                _mm256_cvtepi32_ps(_mm512_extracti64x4_epi64(x, 1)));
}
inline __m512i cvttps_epi32(__m512 x) {
    return join(_mm256_cvttps_epi32(lowF(x)), _mm256_cvttps_epi32(highF(x)));
}
/// Unsigned truncation: values whose truncation lies outside [0, 2^32), and NaN, give 0xffffffff.
inline __m512i cvttps_epu32(__m512 x) {
    float in[16];
    std::uint32_t out[16];
    _mm512_storeu_ps(in, x);
    for (int i = 0; i < 16; ++i) {
        const double t = std::trunc(static_cast<double>(in[i]));
        out[i] = (std::isnan(t) || t < 0.0 || t >= 4294967296.0) ? 0xffffffffu
                                                                 : static_cast<std::uint32_t>(t);
    }
    return _mm512_loadu_si512(out);
}
/// Unsigned lanes rounded to nearest. (SIMDe 0.7.4 has this one, but its alias
/// is misnamed and its result is not always the nearest float.)
inline __m512 cvtepu32_ps(__m512i x) {
    std::uint32_t in[16];
    float out[16];
    _mm512_storeu_si512(in, x);
    for (int i = 0; i < 16; ++i) out[i] = static_cast<float>(in[i]);
    return _mm512_loadu_ps(out);
}
/// Low 32 bits of each product. (SIMDe 0.7.4 multiplies in signed int, which
/// overflows.)
inline __m512i mullo_epi32(__m512i a, __m512i b) {
    std::uint32_t x[16], y[16];
    _mm512_storeu_si512(x, a);
    _mm512_storeu_si512(y, b);
    for (int i = 0; i < 16; ++i) x[i] *= y[i];
    return _mm512_loadu_si512(x);
}
/// Low 16 bits of each 32-bit lane.
inline __m256i cvtepi32_epi16(__m512i x) {
    std::uint32_t in[16];
    std::uint16_t out[16];
    _mm512_storeu_si512(in, x);
    for (int i = 0; i < 16; ++i) out[i] = static_cast<std::uint16_t>(in[i]);
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(out));
}

/// a * b + c and -(a * b) + c with one rounding. (SIMDe 0.7.4's portable versions
/// round the product first.)
inline __m512 fmadd_ps(__m512 a, __m512 b, __m512 c) {
    float x[16], y[16], z[16];
    _mm512_storeu_ps(x, a);
    _mm512_storeu_ps(y, b);
    _mm512_storeu_ps(z, c);
    for (int i = 0; i < 16; ++i) x[i] = std::fmaf(x[i], y[i], z[i]);
    return _mm512_loadu_ps(x);
}
inline __m512 fnmadd_ps(__m512 a, __m512 b, __m512 c) {
    float x[16], y[16], z[16];
    _mm512_storeu_ps(x, a);
    _mm512_storeu_ps(y, b);
    _mm512_storeu_ps(z, c);
    for (int i = 0; i < 16; ++i) x[i] = std::fmaf(-x[i], y[i], z[i]);
    return _mm512_loadu_ps(x);
}
/// Streaming stores, as plain stores that insist on the alignment the
/// instructions require, so that a misaligned streaming store fails here too.
inline void checkStreamAlignment(const void* p) {
    if (reinterpret_cast<std::uintptr_t>(p) % 64 != 0) std::abort();
}
inline void stream_si512(void* p, __m512i v) {
    checkStreamAlignment(p);
    _mm512_storeu_si512(p, v);
}
inline void stream_ps(float* p, __m512 v) {
    checkStreamAlignment(p);
    _mm512_storeu_ps(p, v);
}

}  // namespace vimra::simd::avx512emu_fill

#define _mm512_cvtepu8_epi16 vimra::simd::avx512emu_fill::cvtepu8_epi16
#define _mm512_cvtepi16_epi32 vimra::simd::avx512emu_fill::cvtepi16_epi32
#define _mm512_cvtepu16_epi32 vimra::simd::avx512emu_fill::cvtepu16_epi32
#define _mm512_cvtepi32_ps vimra::simd::avx512emu_fill::cvtepi32_ps
#define _mm512_cvttps_epi32 vimra::simd::avx512emu_fill::cvttps_epi32
#define _mm512_cvttps_epu32 vimra::simd::avx512emu_fill::cvttps_epu32
#define _mm512_cvtepi32_epi16 vimra::simd::avx512emu_fill::cvtepi32_epi16
#define _mm512_cvtepu32_ps vimra::simd::avx512emu_fill::cvtepu32_ps
#define _mm512_stream_si512 vimra::simd::avx512emu_fill::stream_si512
#define _mm512_stream_ps vimra::simd::avx512emu_fill::stream_ps
#undef _mm512_mullo_epi32
#define _mm512_mullo_epi32 vimra::simd::avx512emu_fill::mullo_epi32
#undef _mm512_fmadd_ps
#define _mm512_fmadd_ps vimra::simd::avx512emu_fill::fmadd_ps
#undef _mm512_fnmadd_ps
#define _mm512_fnmadd_ps vimra::simd::avx512emu_fill::fnmadd_ps

#define VIMRA_SIMD_AVX512_NS avx512emu
#include <Kernel/Simd/Avx512Layer.h>
#define VIMRA_SIMD_NS avx512emu
#include <Kernel/Simd/VectorBody.h>
#undef VIMRA_SIMD_NS

#include "../KernelsUnderTest.h"

#include <vimra/processor/FunctionSelector.h>

/// Registers the emulated AVX-512 kernels of an operation into the test's
/// selector of that operation (under the standard set: the real processor
/// check does not apply to portable code).
#define VIMRA_TEST_EMULATED_KERNELS(Op)                                                              \
    namespace {                                                                                     \
    using Op##Table = ::vimra::imaproc::arithm::kernel::KernelTable<::vimra::simd::avx512emu::VectorEntry, \
                                                                   ::vimra::imaproc::arithm::Op##Arithmetic, \
                                                                   ::vimra::eInstructionSet::eAVX512>;  \
    const std::size_t g_##Op##Registered = ::vimra::processor::registerKernelTable(                  \
        ::vimra::arithm_test::emulatedSelector(#Op), ::vimra::eInstructionSet::eStandard,           \
        Op##Table::s_data, Op##Table::s_signature);                                                 \
    }

