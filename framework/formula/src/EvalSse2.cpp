// SSE2 evaluator: 4 floats per lane. Compiled with the SSE2 flags only.

#include "EvalBody.h"
#include "ScalarLane.h"

#include <immintrin.h>

namespace vimra::formula::detail {
namespace sse2 {

struct Lane {
    static constexpr int W = 4;
    struct VF {
        __m128 v;
        friend VF operator+(VF a, VF b) { return {_mm_add_ps(a.v, b.v)}; }
        friend VF operator-(VF a, VF b) { return {_mm_sub_ps(a.v, b.v)}; }
        friend VF operator*(VF a, VF b) { return {_mm_mul_ps(a.v, b.v)}; }
        friend VF operator/(VF a, VF b) { return {_mm_div_ps(a.v, b.v)}; }
    };
    struct VM {
        __m128 v;
    };
    struct VI {
        __m128i v;
    };
    static VF load(const float* p) { return {_mm_loadu_ps(p)}; }
    static void store(float* p, VF a) { _mm_storeu_ps(p, a.v); }
    static VF set1(float v) { return {_mm_set1_ps(v)}; }
    static VI iset1(std::int32_t v) { return {_mm_set1_epi32(v)}; }
    static VF sqrt(VF a) { return {_mm_sqrt_ps(a.v)}; }
    static VF band(VF a, VF b) { return {_mm_and_ps(a.v, b.v)}; }
    static VF bor(VF a, VF b) { return {_mm_or_ps(a.v, b.v)}; }
    static VF bxor(VF a, VF b) { return {_mm_xor_ps(a.v, b.v)}; }
    static VM lt(VF a, VF b) { return {_mm_cmplt_ps(a.v, b.v)}; }
    static VM le(VF a, VF b) { return {_mm_cmple_ps(a.v, b.v)}; }
    static VM gt(VF a, VF b) { return {_mm_cmpgt_ps(a.v, b.v)}; }
    static VM ge(VF a, VF b) { return {_mm_cmpge_ps(a.v, b.v)}; }
    static VM eq(VF a, VF b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
    static VM ne(VF a, VF b) { return {_mm_cmpneq_ps(a.v, b.v)}; }
    static VM unord(VF a, VF b) { return {_mm_cmpunord_ps(a.v, b.v)}; }
    static VM mand(VM a, VM b) { return {_mm_and_ps(a.v, b.v)}; }
    static VM mor(VM a, VM b) { return {_mm_or_ps(a.v, b.v)}; }
    static VM mnot(VM a) { return {_mm_xor_ps(a.v, _mm_castsi128_ps(_mm_set1_epi32(-1)))}; }
    static VF select(VM m, VF a, VF b) {
        return {_mm_or_ps(_mm_and_ps(m.v, a.v), _mm_andnot_ps(m.v, b.v))};
    }
    static bool any(VM m) { return _mm_movemask_ps(m.v) != 0; }
    static VF toFloat(VM m) { return {_mm_and_ps(m.v, _mm_set1_ps(1.0f))}; }
    static VI cvtt(VF a) { return {_mm_cvttps_epi32(a.v)}; }
    static VF cvt(VI a) { return {_mm_cvtepi32_ps(a.v)}; }
    static VI asInt(VF a) { return {_mm_castps_si128(a.v)}; }
    static VF asFloat(VI a) { return {_mm_castsi128_ps(a.v)}; }
    static VI iadd(VI a, VI b) { return {_mm_add_epi32(a.v, b.v)}; }
    static VI isub(VI a, VI b) { return {_mm_sub_epi32(a.v, b.v)}; }
    static VI iand(VI a, VI b) { return {_mm_and_si128(a.v, b.v)}; }
    static VI bor(VI a, VI b) { return {_mm_or_si128(a.v, b.v)}; }
    template <int K>
    static VI sll(VI a) {
        return {_mm_slli_epi32(a.v, K)};
    }
    template <int K>
    static VI srl(VI a) {
        return {_mm_srli_epi32(a.v, K)};
    }
};

}  // namespace sse2

const KernelTable& sse2Kernels() {
    static const KernelTable table =
        EvalBody<sse2::Lane, ScalarLane<eInstructionSet::eSSE2>>::table();
    return table;
}

}  // namespace vimra::formula::detail
