#pragma once

// AVX-512 layer of the vector kernels (F, BW, VL, DQ): the only place that knows
// AVX-512 instructions. Included only by files compiled for AVX-512; everything
// lives in vimra::simd::avx512.
//
// Registers are 512 bits; a kernel step is 64 elements whatever the type. The
// 512-bit packs work per 128-bit quarter, so every saturating narrowing reorders
// the 64-bit eighths afterwards to restore memory order.
//
// Test builds may define VIMRA_SIMD_AVX512_NS to compile this layer a second time
// under another namespace (against a portable implementation of the intrinsics).

#include "LaneTags.h"

#include <cstdint>

#ifndef VIMRA_SIMD_AVX512_NS
// g++ 12 reports its own _mm512_undefined_* placeholders (in avx512fintrin.h) as
// uninitialised wherever they are inlined. The warnings carry the header's
// location, so silencing them around the include leaves this project's code checked.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#define VIMRA_SIMD_AVX512_NS avx512
#endif

namespace vimra::simd::VIMRA_SIMD_AVX512_NS {

using Reg = __m512i;
using RegF = __m512;
inline constexpr int kRegBytes = 64;
inline constexpr int kStep = 64;

// ---- memory ------------------------------------------------------------------------------

inline Reg loadInt(const void* p) {
    return _mm512_loadu_si512(p);
}
inline void storeInt(void* p, Reg v) {
    _mm512_storeu_si512(p, v);
}
inline RegF loadFloat(const float* p) {
    return _mm512_loadu_ps(p);
}
inline void storeFloat(float* p, RegF v) {
    _mm512_storeu_ps(p, v);
}
/// Streaming (non-temporal) stores: `p` aligned to kRegBytes. Weakly ordered:
/// a kernel that uses them calls storeFence() before it returns.
inline void streamInt(void* p, Reg v) {
    _mm512_stream_si512(static_cast<Reg*>(p), v);
}
inline void streamFloat(float* p, RegF v) {
    _mm512_stream_ps(p, v);
}
inline void storeFence() {
    _mm_sfence();
}

// ---- wrap-around integer arithmetic -------------------------------------------------------

inline Reg add(Int8, Reg a, Reg b) {
    return _mm512_add_epi8(a, b);
}
inline Reg add(Int16, Reg a, Reg b) {
    return _mm512_add_epi16(a, b);
}
inline Reg add(Int32, Reg a, Reg b) {
    return _mm512_add_epi32(a, b);
}
inline Reg subtract(Int8, Reg a, Reg b) {
    return _mm512_sub_epi8(a, b);
}
inline Reg subtract(Int16, Reg a, Reg b) {
    return _mm512_sub_epi16(a, b);
}
inline Reg subtract(Int32, Reg a, Reg b) {
    return _mm512_sub_epi32(a, b);
}

/// Low 8 bits of each byte product: even bytes multiplied in place, odd bytes
/// shifted down, multiplied and shifted back.
inline Reg multiply(Int8, Reg a, Reg b) {
    const Reg even = _mm512_mullo_epi16(a, b);
    const Reg odd = _mm512_mullo_epi16(_mm512_srli_epi16(a, 8), _mm512_srli_epi16(b, 8));
    return _mm512_or_si512(_mm512_and_si512(even, _mm512_set1_epi16(0x00ff)),
                           _mm512_slli_epi16(odd, 8));
}
inline Reg multiply(Int16, Reg a, Reg b) {
    return _mm512_mullo_epi16(a, b);
}
inline Reg multiply(Int32, Reg a, Reg b) {
    return _mm512_mullo_epi32(a, b);
}

/// |x| with the most negative value staying itself, as max(x, 0 - x).
inline Reg absolute(S16, Reg x) {
    return _mm512_abs_epi16(x);
}
inline Reg absolute(S32, Reg x) {
    return _mm512_abs_epi32(x);
}

// ---- float arithmetic ---------------------------------------------------------------------

inline RegF add(F32, RegF a, RegF b) {
    return _mm512_add_ps(a, b);
}
inline RegF subtract(F32, RegF a, RegF b) {
    return _mm512_sub_ps(a, b);
}
inline RegF multiply(F32, RegF a, RegF b) {
    return _mm512_mul_ps(a, b);
}
inline RegF divide(F32, RegF a, RegF b) {
    return _mm512_div_ps(a, b);
}
inline RegF clearSign(F32, RegF x) {
    return _mm512_castsi512_ps(
        _mm512_and_si512(_mm512_castps_si512(x), _mm512_set1_epi32(0x7fffffff)));
}
/// q where d compares unequal to zero, +0 where d is +0 or -0 (a NaN d keeps q).
inline RegF zeroWhereZero(F32, RegF q, RegF d) {
    return _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(d, _mm512_setzero_ps(), _CMP_NEQ_UQ), q);
}
/// The exact IEEE square root.
inline RegF squareRoot(F32, RegF x) {
    return _mm512_sqrt_ps(x);
}
/// acc + x * x fused, with one rounding: the AVX-512 kernels form sums of squares
/// this way, so their results may differ from the other sets' in the last bit.
inline RegF addSquare(F32, RegF acc, RegF x) {
    return _mm512_fmadd_ps(x, x, acc);
}

// ---- lane masks and selection -------------------------------------------------------------

/// A bit per lane, set where a comparison holds (NaN compares false).
using MaskF = __mmask16;

inline RegF broadcast(F32, float v) {
    return _mm512_set1_ps(v);
}
inline Reg broadcast(Int32, int v) {
    return _mm512_set1_epi32(v);
}
inline MaskF greater(F32, RegF a, RegF b) {
    return _mm512_cmp_ps_mask(a, b, _CMP_GT_OQ);
}
inline MaskF lessOrEqual(F32, RegF a, RegF b) {
    return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ);
}
/// The lanes that are not NaN.
inline MaskF isNumber(F32, RegF x) {
    return _mm512_cmp_ps_mask(x, x, _CMP_ORD_Q);
}
inline RegF select(F32, MaskF m, RegF yes, RegF no) {
    return _mm512_mask_blend_ps(m, no, yes);
}
/// x with its sign bit flipped.
inline RegF negate(F32, RegF x) {
    return _mm512_castsi512_ps(_mm512_xor_si512(_mm512_castps_si512(x), _mm512_set1_epi32(-2147483647 - 1)));
}
/// x with its sign bit flipped where s has its sign bit set.
inline RegF xorSign(F32, RegF x, RegF s) {
    const Reg sign = _mm512_and_si512(_mm512_castps_si512(s), _mm512_set1_epi32(-2147483647 - 1));
    return _mm512_castsi512_ps(_mm512_xor_si512(_mm512_castps_si512(x), sign));
}
inline Reg bitAnd(Int32, Reg a, Reg b) {
    return _mm512_and_si512(a, b);
}
/// The lanes where x & bits is zero.
inline MaskF bitsClear(Int32, Reg x, Reg bits) {
    return _mm512_cmpeq_epi32_mask(_mm512_and_si512(x, bits), _mm512_setzero_si512());
}

// ---- selection and saturating float steps ------------------------------------------------


// minimum(a, b) is a where a < b, else b; maximum(a, b) is a where a > b, else b.
inline Reg minimum(S16, Reg a, Reg b) {
    return _mm512_min_epi16(a, b);
}
inline Reg maximum(S16, Reg a, Reg b) {
    return _mm512_max_epi16(a, b);
}
inline Reg minimum(S32, Reg a, Reg b) {
    return _mm512_min_epi32(a, b);
}
inline Reg maximum(S32, Reg a, Reg b) {
    return _mm512_max_epi32(a, b);
}
inline Reg minimum(U32, Reg a, Reg b) {
    return _mm512_min_epu32(a, b);
}
inline Reg maximum(U32, Reg a, Reg b) {
    return _mm512_max_epu32(a, b);
}
/// Float lanes: as above, except that a NaN in a is kept (vminps alone would take b).
inline RegF minimum(F32, RegF a, RegF b) {
    return _mm512_mask_mov_ps(_mm512_min_ps(a, b), _mm512_cmp_ps_mask(a, a, _CMP_UNORD_Q), a);
}
inline RegF maximum(F32, RegF a, RegF b) {
    return _mm512_mask_mov_ps(_mm512_max_ps(a, b), _mm512_cmp_ps_mask(a, a, _CMP_UNORD_Q), a);
}
/// NaN lanes replaced by +0.
inline RegF zeroNaN(F32, RegF x) {
    return _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(x, x, _CMP_ORD_Q), x);
}
/// x + 0.5 where x >= 0, x - 0.5 where x < 0.
inline RegF addHalfAwayFromZero(F32, RegF x) {
    const auto negative = _mm512_cmp_ps_mask(x, _mm512_setzero_ps(), _CMP_LT_OQ);  // a lane mask
    return _mm512_add_ps(x, _mm512_mask_mov_ps(_mm512_set1_ps(0.5f), negative, _mm512_set1_ps(-0.5f)));
}
/// Truncation toward zero to int32 with values from 2^31 up giving 2147483647
/// (below -2^31, and NaN, give -2147483648 as in truncate()).
inline Reg truncateSaturated(F32, RegF x) {
    return _mm512_mask_mov_epi32(_mm512_cvttps_epi32(x),
                                 _mm512_cmp_ps_mask(x, _mm512_set1_ps(2147483648.0f), _CMP_GE_OQ),
                                 _mm512_set1_epi32(INT32_MAX));
}
/// a * b + c and c - a * b with one rounding (fused; AVX-512 only).
inline RegF multiplyAddFused(F32, RegF a, RegF b, RegF c) {
    return _mm512_fmadd_ps(a, b, c);
}
inline RegF negatedMultiplyAddFused(F32, RegF a, RegF b, RegF c) {
    return _mm512_fnmadd_ps(a, b, c);
}

// ---- widening, in memory order ------------------------------------------------------------

inline __m256i lowHalf(Reg x) {
    return _mm512_castsi512_si256(x);
}
inline __m256i highHalf(Reg x) {
    return _mm512_extracti64x4_epi64(x, 1);
}

inline Reg extendLow(S8, Reg x) {
    return _mm512_cvtepi8_epi16(lowHalf(x));
}
inline Reg extendHigh(S8, Reg x) {
    return _mm512_cvtepi8_epi16(highHalf(x));
}
inline Reg extendLow(U8, Reg x) {
    return _mm512_cvtepu8_epi16(lowHalf(x));
}
inline Reg extendHigh(U8, Reg x) {
    return _mm512_cvtepu8_epi16(highHalf(x));
}
inline Reg extendLow(S16, Reg x) {
    return _mm512_cvtepi16_epi32(lowHalf(x));
}
inline Reg extendHigh(S16, Reg x) {
    return _mm512_cvtepi16_epi32(highHalf(x));
}
inline Reg extendLow(U16, Reg x) {
    return _mm512_cvtepu16_epi32(lowHalf(x));
}
inline Reg extendHigh(U16, Reg x) {
    return _mm512_cvtepu16_epi32(highHalf(x));
}

// ---- int <-> float ------------------------------------------------------------------------

inline RegF toFloat(S32, Reg x) {
    return _mm512_cvtepi32_ps(x);
}
inline RegF toFloat(U32, Reg x) {
    return _mm512_cvtepu32_ps(x);
}
/// Truncation toward zero; out of range or NaN gives -2147483648.
inline Reg truncate(F32, RegF x) {
    return _mm512_cvttps_epi32(x);
}

/// Float to unsigned 32-bit (two-input kernels) on AVX-512: the processor's
/// unsigned truncation, where every value whose truncation is outside
/// [0, 4294967295] (negative values from -1 down included) and NaN give
/// 4294967295. SSE2 and AVX2 give 0 for negative values and NaN instead.
inline Reg truncateToUInt32(F32, RegF x) {
    return _mm512_cvttps_epu32(x);
}

// ---- narrowing: two registers to one, in memory order -------------------------------------

/// Eighths (lo0 hi0 lo1 hi1 lo2 hi2 lo3 hi3) of a per-quarter pack back to memory order.
inline Reg inOrder(Reg packed) {
    return _mm512_permutexvar_epi64(_mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0), packed);
}
inline Reg join(__m256i lo, __m256i hi) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(lo), hi, 1);
}

/// 32-bit lanes read as signed, saturated to [-32768, 32767].
inline Reg saturateToInt16(Int32, Reg lo, Reg hi) {
    return inOrder(_mm512_packs_epi32(lo, hi));
}
/// Low 16 bits of each 32-bit lane.
inline Reg wrapToInt16(Int32, Reg lo, Reg hi) {
    return join(_mm512_cvtepi32_epi16(lo), _mm512_cvtepi32_epi16(hi));
}
/// 32-bit to unsigned 16-bit on AVX-512: lanes read as signed, saturated to
/// [0, 65535], as on AVX2 (SSE2 keeps the low 16 bits instead).
inline Reg narrowToUInt16(Int32, Reg lo, Reg hi) {
    return inOrder(_mm512_packus_epi32(lo, hi));
}
/// 16-bit lanes read as signed, saturated to [-128, 127].
inline Reg saturateToInt8(Int16, Reg lo, Reg hi) {
    return inOrder(_mm512_packs_epi16(lo, hi));
}
/// 16-bit lanes read as signed, saturated to [0, 255].
inline Reg saturateToUInt8(Int16, Reg lo, Reg hi) {
    return inOrder(_mm512_packus_epi16(lo, hi));
}
/// Low 8 bits of each 16-bit lane.
inline Reg wrapToInt8(Int16, Reg lo, Reg hi) {
    return join(_mm512_cvtepi16_epi8(lo), _mm512_cvtepi16_epi8(hi));
}

}  // namespace vimra::simd::VIMRA_SIMD_AVX512_NS
