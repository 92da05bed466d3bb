#pragma once

// AVX2 layer of the vector kernels: the only place that knows AVX2 instructions.
// Included only by files compiled for AVX2; everything lives in vimra::simd::avx2.
//
// Registers are 256 bits; a kernel step is 32 elements whatever the type. The
// 256-bit packs work per 128-bit half, so every narrowing reorders the 64-bit
// quarters afterwards to restore memory order.

#include "LaneTags.h"

#include <immintrin.h>

namespace vimra::simd::avx2 {

using Reg = __m256i;
using RegF = __m256;
inline constexpr int kRegBytes = 32;
inline constexpr int kStep = 32;

// ---- memory ------------------------------------------------------------------------------

inline Reg loadInt(const void* p) {
    return _mm256_loadu_si256(static_cast<const Reg*>(p));
}
inline void storeInt(void* p, Reg v) {
    _mm256_storeu_si256(static_cast<Reg*>(p), v);
}
inline RegF loadFloat(const float* p) {
    return _mm256_loadu_ps(p);
}
inline void storeFloat(float* p, RegF v) {
    _mm256_storeu_ps(p, v);
}
/// Streaming (non-temporal) stores: `p` aligned to kRegBytes. Weakly ordered:
/// a kernel that uses them calls storeFence() before it returns.
inline void streamInt(void* p, Reg v) {
    _mm256_stream_si256(static_cast<Reg*>(p), v);
}
inline void streamFloat(float* p, RegF v) {
    _mm256_stream_ps(p, v);
}
inline void storeFence() {
    _mm_sfence();
}

// ---- wrap-around integer arithmetic -------------------------------------------------------

inline Reg add(Int8, Reg a, Reg b) {
    return _mm256_add_epi8(a, b);
}
inline Reg add(Int16, Reg a, Reg b) {
    return _mm256_add_epi16(a, b);
}
inline Reg add(Int32, Reg a, Reg b) {
    return _mm256_add_epi32(a, b);
}
inline Reg subtract(Int8, Reg a, Reg b) {
    return _mm256_sub_epi8(a, b);
}
inline Reg subtract(Int16, Reg a, Reg b) {
    return _mm256_sub_epi16(a, b);
}
inline Reg subtract(Int32, Reg a, Reg b) {
    return _mm256_sub_epi32(a, b);
}

/// Low 8 bits of each byte product: even bytes multiplied in place, odd bytes
/// shifted down, multiplied and shifted back.
inline Reg multiply(Int8, Reg a, Reg b) {
    const Reg even = _mm256_mullo_epi16(a, b);
    const Reg odd = _mm256_mullo_epi16(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
    return _mm256_or_si256(_mm256_and_si256(even, _mm256_set1_epi16(0x00ff)),
                           _mm256_slli_epi16(odd, 8));
}
inline Reg multiply(Int16, Reg a, Reg b) {
    return _mm256_mullo_epi16(a, b);
}
inline Reg multiply(Int32, Reg a, Reg b) {
    return _mm256_mullo_epi32(a, b);
}

/// |x| with the most negative value staying itself, as max(x, 0 - x).
inline Reg absolute(S16, Reg x) {
    return _mm256_abs_epi16(x);
}
inline Reg absolute(S32, Reg x) {
    return _mm256_abs_epi32(x);
}

// ---- float arithmetic ---------------------------------------------------------------------

inline RegF add(F32, RegF a, RegF b) {
    return _mm256_add_ps(a, b);
}
inline RegF subtract(F32, RegF a, RegF b) {
    return _mm256_sub_ps(a, b);
}
inline RegF multiply(F32, RegF a, RegF b) {
    return _mm256_mul_ps(a, b);
}
inline RegF divide(F32, RegF a, RegF b) {
    return _mm256_div_ps(a, b);
}
inline RegF clearSign(F32, RegF x) {
    return _mm256_and_ps(x, _mm256_castsi256_ps(_mm256_set1_epi32(0x7fffffff)));
}
/// q where d compares unequal to zero, +0 where d is +0 or -0 (a NaN d keeps q).
inline RegF zeroWhereZero(F32, RegF q, RegF d) {
    return _mm256_andnot_ps(_mm256_cmp_ps(d, _mm256_setzero_ps(), _CMP_EQ_OQ), q);
}

#include "Float256Layer.inc"

inline Reg bitAnd(Int32, Reg a, Reg b) {
    return _mm256_and_si256(a, b);
}
/// The lanes where x & bits is zero.
inline MaskF bitsClear(Int32, Reg x, Reg bits) {
    return _mm256_castsi256_ps(_mm256_cmpeq_epi32(_mm256_and_si256(x, bits), _mm256_setzero_si256()));
}

// ---- selection and saturating float steps ------------------------------------------------


// minimum(a, b) is a where a < b, else b; maximum(a, b) is a where a > b, else b.
inline Reg minimum(S16, Reg a, Reg b) {
    return _mm256_min_epi16(a, b);
}
inline Reg maximum(S16, Reg a, Reg b) {
    return _mm256_max_epi16(a, b);
}
inline Reg minimum(S32, Reg a, Reg b) {
    return _mm256_min_epi32(a, b);
}
inline Reg maximum(S32, Reg a, Reg b) {
    return _mm256_max_epi32(a, b);
}
inline Reg minimum(U32, Reg a, Reg b) {
    return _mm256_min_epu32(a, b);
}
inline Reg maximum(U32, Reg a, Reg b) {
    return _mm256_max_epu32(a, b);
}
/// Float lanes: as above, except that a NaN in a is kept (vminps alone would take b).
inline RegF minimum(F32, RegF a, RegF b) {
    return _mm256_blendv_ps(_mm256_min_ps(a, b), a, _mm256_cmp_ps(a, a, _CMP_UNORD_Q));
}
inline RegF maximum(F32, RegF a, RegF b) {
    return _mm256_blendv_ps(_mm256_max_ps(a, b), a, _mm256_cmp_ps(a, a, _CMP_UNORD_Q));
}
/// NaN lanes replaced by +0.
inline RegF zeroNaN(F32, RegF x) {
    return _mm256_and_ps(_mm256_cmp_ps(x, x, _CMP_ORD_Q), x);
}
/// x + 0.5 where x >= 0, x - 0.5 where x < 0.
inline RegF addHalfAwayFromZero(F32, RegF x) {
    const RegF negative = _mm256_cmp_ps(x, _mm256_setzero_ps(), _CMP_LT_OQ);
    return _mm256_add_ps(x, _mm256_blendv_ps(_mm256_set1_ps(0.5f), _mm256_set1_ps(-0.5f), negative));
}
/// Truncation toward zero to int32 with values from 2^31 up giving 2147483647
/// (below -2^31, and NaN, give -2147483648 as in truncate()).
inline Reg truncateSaturated(F32, RegF x) {
    return _mm256_xor_si256(_mm256_cvttps_epi32(x),
                            _mm256_castps_si256(_mm256_cmp_ps(x, _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ)));
}

// ---- widening, in memory order ------------------------------------------------------------

inline __m128i lowHalf(Reg x) {
    return _mm256_castsi256_si128(x);
}
inline __m128i highHalf(Reg x) {
    return _mm256_extracti128_si256(x, 1);
}

inline Reg extendLow(S8, Reg x) {
    return _mm256_cvtepi8_epi16(lowHalf(x));
}
inline Reg extendHigh(S8, Reg x) {
    return _mm256_cvtepi8_epi16(highHalf(x));
}
inline Reg extendLow(U8, Reg x) {
    return _mm256_cvtepu8_epi16(lowHalf(x));
}
inline Reg extendHigh(U8, Reg x) {
    return _mm256_cvtepu8_epi16(highHalf(x));
}
inline Reg extendLow(S16, Reg x) {
    return _mm256_cvtepi16_epi32(lowHalf(x));
}
inline Reg extendHigh(S16, Reg x) {
    return _mm256_cvtepi16_epi32(highHalf(x));
}
inline Reg extendLow(U16, Reg x) {
    return _mm256_cvtepu16_epi32(lowHalf(x));
}
inline Reg extendHigh(U16, Reg x) {
    return _mm256_cvtepu16_epi32(highHalf(x));
}

// ---- int <-> float ------------------------------------------------------------------------

inline RegF toFloat(S32, Reg x) {
    return _mm256_cvtepi32_ps(x);
}
/// Unsigned lanes rounded to nearest: high half * 65536 (exact) + low half, one rounding.
inline RegF toFloat(U32, Reg x) {
    const RegF high = _mm256_cvtepi32_ps(_mm256_srli_epi32(x, 16));
    const RegF low = _mm256_cvtepi32_ps(_mm256_and_si256(x, _mm256_set1_epi32(0xffff)));
    return _mm256_add_ps(_mm256_mul_ps(high, _mm256_set1_ps(65536.0f)), low);
}
/// Truncation toward zero; out of range or NaN gives -2147483648.
inline Reg truncate(F32, RegF x) {
    return _mm256_cvttps_epi32(x);
}

/// Float to unsigned 32-bit (two-input kernels): truncation toward zero with
/// negative values and NaN giving 0 and values from 2^32 up giving 4294967295.
inline Reg truncateToUInt32(F32, RegF x) {
    const RegF two31 = _mm256_set1_ps(2147483648.0f);
    const RegF v = _mm256_max_ps(x, _mm256_setzero_ps());  // NaN takes the second operand: 0
    const RegF high = _mm256_cmp_ps(v, two31, _CMP_GE_OQ);
    const Reg low = _mm256_cvttps_epi32(_mm256_sub_ps(v, _mm256_and_ps(high, two31)));
    const Reg r = _mm256_xor_si256(low, _mm256_slli_epi32(_mm256_castps_si256(high), 31));
    return _mm256_or_si256(
        r, _mm256_castps_si256(_mm256_cmp_ps(v, _mm256_set1_ps(4294967296.0f), _CMP_GE_OQ)));
}

// ---- narrowing: two registers to one, in memory order -------------------------------------

/// Quarters (lo0 hi0 lo1 hi1) of a per-half pack back to (lo0 lo1 hi0 hi1).
inline Reg inOrder(Reg packed) {
    return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
}

/// 32-bit lanes read as signed, saturated to [-32768, 32767].
inline Reg saturateToInt16(Int32, Reg lo, Reg hi) {
    return inOrder(_mm256_packs_epi32(lo, hi));
}
/// Low 16 bits of each 32-bit lane.
inline Reg wrapToInt16(Int32, Reg lo, Reg hi) {
    return inOrder(_mm256_packs_epi32(_mm256_srai_epi32(_mm256_slli_epi32(lo, 16), 16),
                                      _mm256_srai_epi32(_mm256_slli_epi32(hi, 16), 16)));
}
/// 32-bit to unsigned 16-bit on AVX2: lanes read as signed, saturated to [0, 65535]
/// (SSE2 keeps the low 16 bits instead).
inline Reg narrowToUInt16(Int32, Reg lo, Reg hi) {
    return inOrder(_mm256_packus_epi32(lo, hi));
}
/// 16-bit lanes read as signed, saturated to [-128, 127].
inline Reg saturateToInt8(Int16, Reg lo, Reg hi) {
    return inOrder(_mm256_packs_epi16(lo, hi));
}
/// 16-bit lanes read as signed, saturated to [0, 255].
inline Reg saturateToUInt8(Int16, Reg lo, Reg hi) {
    return inOrder(_mm256_packus_epi16(lo, hi));
}
/// Low 8 bits of each 16-bit lane.
inline Reg wrapToInt8(Int16, Reg lo, Reg hi) {
    const Reg m = _mm256_set1_epi16(0x00ff);
    return inOrder(_mm256_packus_epi16(_mm256_and_si256(lo, m), _mm256_and_si256(hi, m)));
}

}  // namespace vimra::simd::avx2
