#pragma once

// AVX layer of the vector kernels: float lanes only. AVX has no 256-bit integer
// arithmetic, and only the all-float kernels are built for it; an integer kernel
// instantiated for this set fails to compile (no integer widening or narrowing
// exists here; the few 32-bit steps below serve float kernels' angle reduction).
// Included only by files compiled for AVX; everything lives in vimra::simd::avx.

#include "LaneTags.h"

#include <immintrin.h>

namespace vimra::simd::avx {

using Reg = __m256i;
using RegF = __m256;
inline constexpr int kRegBytes = 32;
inline constexpr int kStep = 32;

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
/// a where a < b (a > b), else b; a NaN in a is kept.
inline RegF minimum(F32, RegF a, RegF b) {
    return _mm256_blendv_ps(_mm256_min_ps(a, b), a, _mm256_cmp_ps(a, a, _CMP_UNORD_Q));
}
inline RegF maximum(F32, RegF a, RegF b) {
    return _mm256_blendv_ps(_mm256_max_ps(a, b), a, _mm256_cmp_ps(a, a, _CMP_UNORD_Q));
}
/// q where d compares unequal to zero, +0 where d is +0 or -0 (a NaN d keeps q).
inline RegF zeroWhereZero(F32, RegF q, RegF d) {
    return _mm256_andnot_ps(_mm256_cmp_ps(d, _mm256_setzero_ps(), _CMP_EQ_OQ), q);
}

#include "Float256Layer.inc"

// ---- 32-bit integer lanes, for the angle reduction of the sine and cosine -----------------
// AVX has no 256-bit integer arithmetic: the integer steps work on the two 128-bit halves.

inline Reg truncate(F32, RegF x) {
    return _mm256_cvttps_epi32(x);
}
inline RegF toFloat(S32, Reg x) {
    return _mm256_cvtepi32_ps(x);
}
template <class F>
inline Reg byHalves(Reg a, Reg b, F f) {
    const __m128i lo = f(_mm256_castsi256_si128(a), _mm256_castsi256_si128(b));
    const __m128i hi = f(_mm256_extractf128_si256(a, 1), _mm256_extractf128_si256(b, 1));
    return _mm256_insertf128_si256(_mm256_castsi128_si256(lo), hi, 1);
}
inline Reg add(Int32, Reg a, Reg b) {
    return byHalves(a, b, [](__m128i x, __m128i y) { return _mm_add_epi32(x, y); });
}
inline Reg subtract(Int32, Reg a, Reg b) {
    return byHalves(a, b, [](__m128i x, __m128i y) { return _mm_sub_epi32(x, y); });
}
inline Reg bitAnd(Int32, Reg a, Reg b) {
    return _mm256_castps_si256(_mm256_and_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b)));
}
/// The lanes where x & bits is zero.
inline MaskF bitsClear(Int32, Reg x, Reg bits) {
    return _mm256_castsi256_ps(byHalves(bitAnd(Int32{}, x, bits), _mm256_setzero_si256(), [](__m128i v, __m128i zero) {
        return _mm_cmpeq_epi32(v, zero);
    }));
}

}  // namespace vimra::simd::avx
