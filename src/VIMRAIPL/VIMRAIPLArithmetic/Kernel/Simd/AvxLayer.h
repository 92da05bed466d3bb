#pragma once

// AVX layer of the vector kernels: float lanes only. AVX has no 256-bit integer
// arithmetic, and only the all-float kernels are built for it; an integer kernel
// instantiated for this set fails to compile (no integer primitive exists here).
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
/// q where d compares unequal to zero, +0 where d is +0 or -0 (a NaN d keeps q).
inline RegF zeroWhereZero(F32, RegF q, RegF d) {
    return _mm256_andnot_ps(_mm256_cmp_ps(d, _mm256_setzero_ps(), _CMP_EQ_OQ), q);
}

}  // namespace vimra::simd::avx
