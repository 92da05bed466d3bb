#pragma once

// SSE2 layer of the vector kernels: the only place that knows SSE2 instructions.
// Included only by files compiled for SSE2; everything lives in vimra::simd::sse2.
//
// Registers are 128 bits; a kernel step is 16 elements whatever the type.
// Multi-register narrowing keeps memory order (the 128-bit packs already do).

#include "LaneTags.h"

#include <emmintrin.h>

#include <cstdint>

namespace vimra::simd::sse2 {

using Reg = __m128i;
using RegF = __m128;
inline constexpr int kRegBytes = 16;
inline constexpr int kStep = 16;

// ---- memory ------------------------------------------------------------------------------

inline Reg loadInt(const void* p) {
    return _mm_loadu_si128(static_cast<const Reg*>(p));
}
inline void storeInt(void* p, Reg v) {
    _mm_storeu_si128(static_cast<Reg*>(p), v);
}
inline RegF loadFloat(const float* p) {
    return _mm_loadu_ps(p);
}
inline void storeFloat(float* p, RegF v) {
    _mm_storeu_ps(p, v);
}
/// Streaming (non-temporal) stores: `p` aligned to kRegBytes. Weakly ordered:
/// a kernel that uses them calls storeFence() before it returns.
inline void streamInt(void* p, Reg v) {
    _mm_stream_si128(static_cast<Reg*>(p), v);
}
inline void streamFloat(float* p, RegF v) {
    _mm_stream_ps(p, v);
}
inline void storeFence() {
    _mm_sfence();
}

// ---- wrap-around integer arithmetic -------------------------------------------------------

inline Reg add(Int8, Reg a, Reg b) {
    return _mm_add_epi8(a, b);
}
inline Reg add(Int16, Reg a, Reg b) {
    return _mm_add_epi16(a, b);
}
inline Reg add(Int32, Reg a, Reg b) {
    return _mm_add_epi32(a, b);
}
inline Reg subtract(Int8, Reg a, Reg b) {
    return _mm_sub_epi8(a, b);
}
inline Reg subtract(Int16, Reg a, Reg b) {
    return _mm_sub_epi16(a, b);
}
inline Reg subtract(Int32, Reg a, Reg b) {
    return _mm_sub_epi32(a, b);
}

/// Low 8 bits of each byte product: even bytes multiplied in place, odd bytes
/// shifted down, multiplied and shifted back.
inline Reg multiply(Int8, Reg a, Reg b) {
    const Reg even = _mm_mullo_epi16(a, b);
    const Reg odd = _mm_mullo_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
    return _mm_or_si128(_mm_and_si128(even, _mm_set1_epi16(0x00ff)), _mm_slli_epi16(odd, 8));
}
inline Reg multiply(Int16, Reg a, Reg b) {
    return _mm_mullo_epi16(a, b);
}
/// Low 32 bits of each product, from the 64-bit products of the even and odd lanes.
inline Reg multiply(Int32, Reg a, Reg b) {
    const Reg even = _mm_mul_epu32(a, b);
    const Reg odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                              _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}

/// max(x, 0 - x): the most negative value stays itself.
inline Reg absolute(S16, Reg x) {
    return _mm_max_epi16(x, _mm_sub_epi16(_mm_setzero_si128(), x));
}
/// (x ^ s) - s with s the sign mask, the same result as max(x, 0 - x).
inline Reg absolute(S32, Reg x) {
    const Reg s = _mm_srai_epi32(x, 31);
    return _mm_sub_epi32(_mm_xor_si128(x, s), s);
}

// ---- float arithmetic ---------------------------------------------------------------------

inline RegF add(F32, RegF a, RegF b) {
    return _mm_add_ps(a, b);
}
inline RegF subtract(F32, RegF a, RegF b) {
    return _mm_sub_ps(a, b);
}
inline RegF multiply(F32, RegF a, RegF b) {
    return _mm_mul_ps(a, b);
}
inline RegF divide(F32, RegF a, RegF b) {
    return _mm_div_ps(a, b);
}
inline RegF clearSign(F32, RegF x) {
    return _mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff)));
}
/// q where d compares unequal to zero, +0 where d is +0 or -0 (a NaN d keeps q).
inline RegF zeroWhereZero(F32, RegF q, RegF d) {
    return _mm_andnot_ps(_mm_cmpeq_ps(d, _mm_setzero_ps()), q);
}
/// The exact IEEE square root.
inline RegF squareRoot(F32, RegF x) {
    return _mm_sqrt_ps(x);
}
/// acc + x * x with the product and the sum each rounded, as the standard kernels compute it.
inline RegF addSquare(F32, RegF acc, RegF x) {
    return _mm_add_ps(acc, _mm_mul_ps(x, x));
}

// ---- lane masks and selection -------------------------------------------------------------

/// All bits set in the lanes where a comparison holds (NaN compares false).
using MaskF = RegF;

inline RegF broadcast(F32, float v) {
    return _mm_set1_ps(v);
}
inline Reg broadcast(Int32, int v) {
    return _mm_set1_epi32(v);
}
inline MaskF greater(F32, RegF a, RegF b) {
    return _mm_cmpgt_ps(a, b);
}
inline MaskF lessOrEqual(F32, RegF a, RegF b) {
    return _mm_cmple_ps(a, b);
}
/// The lanes that are not NaN.
inline MaskF isNumber(F32, RegF x) {
    return _mm_cmpord_ps(x, x);
}
inline RegF select(F32, MaskF m, RegF yes, RegF no) {
    return _mm_or_ps(_mm_and_ps(m, yes), _mm_andnot_ps(m, no));
}
/// x with its sign bit flipped.
inline RegF negate(F32, RegF x) {
    return _mm_xor_ps(x, _mm_set1_ps(-0.0f));
}
/// x with its sign bit flipped where s has its sign bit set.
inline RegF xorSign(F32, RegF x, RegF s) {
    return _mm_xor_ps(x, _mm_and_ps(s, _mm_set1_ps(-0.0f)));
}
inline Reg bitAnd(Int32, Reg a, Reg b) {
    return _mm_and_si128(a, b);
}
/// The lanes where x & bits is zero.
inline MaskF bitsClear(Int32, Reg x, Reg bits) {
    return _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(x, bits), _mm_setzero_si128()));
}

// ---- selection and saturating float steps ------------------------------------------------

/// Bits of a where mask is set, of b elsewhere.
inline Reg selectBits(Reg mask, Reg a, Reg b) {
    return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}
inline RegF selectBits(RegF mask, RegF a, RegF b) {
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}

// minimum(a, b) is a where a < b, else b; maximum(a, b) is a where a > b, else b.
inline Reg minimum(S16, Reg a, Reg b) {
    return _mm_min_epi16(a, b);
}
inline Reg maximum(S16, Reg a, Reg b) {
    return _mm_max_epi16(a, b);
}
inline Reg minimum(S32, Reg a, Reg b) {
    return selectBits(_mm_cmplt_epi32(a, b), a, b);
}
inline Reg maximum(S32, Reg a, Reg b) {
    return selectBits(_mm_cmpgt_epi32(a, b), a, b);
}
/// Unsigned lanes compared as signed after flipping their top bits (SSE2 has no
/// unsigned 32-bit comparison).
inline Reg minimum(U32, Reg a, Reg b) {
    const Reg top = _mm_set1_epi32(INT32_MIN);
    return selectBits(_mm_cmplt_epi32(_mm_xor_si128(a, top), _mm_xor_si128(b, top)), a, b);
}
inline Reg maximum(U32, Reg a, Reg b) {
    const Reg top = _mm_set1_epi32(INT32_MIN);
    return selectBits(_mm_cmpgt_epi32(_mm_xor_si128(a, top), _mm_xor_si128(b, top)), a, b);
}
/// Float lanes: as above, except that a NaN in a is kept (minps alone would take b).
inline RegF minimum(F32, RegF a, RegF b) {
    return selectBits(_mm_cmpunord_ps(a, a), a, _mm_min_ps(a, b));
}
inline RegF maximum(F32, RegF a, RegF b) {
    return selectBits(_mm_cmpunord_ps(a, a), a, _mm_max_ps(a, b));
}
/// NaN lanes replaced by +0.
inline RegF zeroNaN(F32, RegF x) {
    return _mm_and_ps(_mm_cmpord_ps(x, x), x);
}
/// x + 0.5 where x >= 0, x - 0.5 where x < 0.
inline RegF addHalfAwayFromZero(F32, RegF x) {
    const RegF negative = _mm_cmplt_ps(x, _mm_setzero_ps());
    return _mm_add_ps(x, selectBits(negative, _mm_set1_ps(-0.5f), _mm_set1_ps(0.5f)));
}
/// Truncation toward zero to int32 with values from 2^31 up giving 2147483647
/// (below -2^31, and NaN, give -2147483648 as in truncate()).
inline Reg truncateSaturated(F32, RegF x) {
    return _mm_xor_si128(_mm_cvttps_epi32(x),
                         _mm_castps_si128(_mm_cmpge_ps(x, _mm_set1_ps(2147483648.0f))));
}

// ---- widening, in memory order ------------------------------------------------------------

inline Reg extendLow(S8, Reg x) {
    return _mm_unpacklo_epi8(x, _mm_cmpgt_epi8(_mm_setzero_si128(), x));
}
inline Reg extendHigh(S8, Reg x) {
    return _mm_unpackhi_epi8(x, _mm_cmpgt_epi8(_mm_setzero_si128(), x));
}
inline Reg extendLow(U8, Reg x) {
    return _mm_unpacklo_epi8(x, _mm_setzero_si128());
}
inline Reg extendHigh(U8, Reg x) {
    return _mm_unpackhi_epi8(x, _mm_setzero_si128());
}
inline Reg extendLow(S16, Reg x) {
    return _mm_unpacklo_epi16(x, _mm_srai_epi16(x, 15));
}
inline Reg extendHigh(S16, Reg x) {
    return _mm_unpackhi_epi16(x, _mm_srai_epi16(x, 15));
}
inline Reg extendLow(U16, Reg x) {
    return _mm_unpacklo_epi16(x, _mm_setzero_si128());
}
inline Reg extendHigh(U16, Reg x) {
    return _mm_unpackhi_epi16(x, _mm_setzero_si128());
}

// ---- int <-> float ------------------------------------------------------------------------

inline RegF toFloat(S32, Reg x) {
    return _mm_cvtepi32_ps(x);
}
/// Unsigned lanes rounded to nearest: high half * 65536 (exact) + low half, one rounding.
inline RegF toFloat(U32, Reg x) {
    const RegF high = _mm_cvtepi32_ps(_mm_srli_epi32(x, 16));
    const RegF low = _mm_cvtepi32_ps(_mm_and_si128(x, _mm_set1_epi32(0xffff)));
    return _mm_add_ps(_mm_mul_ps(high, _mm_set1_ps(65536.0f)), low);
}
/// Truncation toward zero; out of range or NaN gives -2147483648.
inline Reg truncate(F32, RegF x) {
    return _mm_cvttps_epi32(x);
}

/// Float to unsigned 32-bit (two-input kernels): truncation toward zero with
/// negative values and NaN giving 0 and values from 2^32 up giving 4294967295.
inline Reg truncateToUInt32(F32, RegF x) {
    const RegF two31 = _mm_set1_ps(2147483648.0f);
    const RegF v = _mm_max_ps(x, _mm_setzero_ps());  // NaN takes the second operand: 0
    const RegF high = _mm_cmpge_ps(v, two31);
    const Reg low = _mm_cvttps_epi32(_mm_sub_ps(v, _mm_and_ps(high, two31)));
    const Reg r = _mm_xor_si128(low, _mm_slli_epi32(_mm_castps_si128(high), 31));
    return _mm_or_si128(r, _mm_castps_si128(_mm_cmpge_ps(v, _mm_set1_ps(4294967296.0f))));
}

// ---- narrowing: two registers to one, in memory order -------------------------------------

/// 32-bit lanes read as signed, saturated to [-32768, 32767].
inline Reg saturateToInt16(Int32, Reg lo, Reg hi) {
    return _mm_packs_epi32(lo, hi);
}
/// Low 16 bits of each 32-bit lane.
inline Reg wrapToInt16(Int32, Reg lo, Reg hi) {
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(lo, 16), 16),
                           _mm_srai_epi32(_mm_slli_epi32(hi, 16), 16));
}
/// 32-bit to unsigned 16-bit on SSE2 keeps the low 16 bits (there is no unsigned
/// 32-bit pack before SSE4.1); the wider sets saturate instead.
inline Reg narrowToUInt16(Int32, Reg lo, Reg hi) {
    return wrapToInt16(Int32{}, lo, hi);
}
/// 16-bit lanes read as signed, saturated to [-128, 127].
inline Reg saturateToInt8(Int16, Reg lo, Reg hi) {
    return _mm_packs_epi16(lo, hi);
}
/// 16-bit lanes read as signed, saturated to [0, 255].
inline Reg saturateToUInt8(Int16, Reg lo, Reg hi) {
    return _mm_packus_epi16(lo, hi);
}
/// Low 8 bits of each 16-bit lane.
inline Reg wrapToInt8(Int16, Reg lo, Reg hi) {
    const Reg m = _mm_set1_epi16(0x00ff);
    return _mm_packus_epi16(_mm_and_si128(lo, m), _mm_and_si128(hi, m));
}

}  // namespace vimra::simd::sse2
