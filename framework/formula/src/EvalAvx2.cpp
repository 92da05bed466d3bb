// AVX2 evaluator: 8 floats per lane. Compiled with the AVX2 flags only; the
// files of this library are compiled without contraction, so -mfma changes
// nothing here.

#include "EvalBody.h"
#include "ScalarLane.h"

#include <immintrin.h>

namespace vimra::formula::detail {
namespace avx2 {

struct Lane {
    static constexpr int W = 8;
    struct VF {
        __m256 v;
        friend VF operator+(VF a, VF b) { return {_mm256_add_ps(a.v, b.v)}; }
        friend VF operator-(VF a, VF b) { return {_mm256_sub_ps(a.v, b.v)}; }
        friend VF operator*(VF a, VF b) { return {_mm256_mul_ps(a.v, b.v)}; }
        friend VF operator/(VF a, VF b) { return {_mm256_div_ps(a.v, b.v)}; }
    };
    struct VM {
        __m256 v;
    };
    struct VI {
        __m256i v;
    };
    static VF load(const float* p) { return {_mm256_loadu_ps(p)}; }
    static void store(float* p, VF a) { _mm256_storeu_ps(p, a.v); }
    static VF set1(float v) { return {_mm256_set1_ps(v)}; }
    static VI iset1(std::int32_t v) { return {_mm256_set1_epi32(v)}; }
    static VF sqrt(VF a) { return {_mm256_sqrt_ps(a.v)}; }
    static VF band(VF a, VF b) { return {_mm256_and_ps(a.v, b.v)}; }
    static VF bor(VF a, VF b) { return {_mm256_or_ps(a.v, b.v)}; }
    static VF bxor(VF a, VF b) { return {_mm256_xor_ps(a.v, b.v)}; }
    static VM lt(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
    static VM le(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ)}; }
    static VM gt(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)}; }
    static VM ge(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)}; }
    static VM eq(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }
    static VM ne(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_NEQ_UQ)}; }
    static VM unord(VF a, VF b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_UNORD_Q)}; }
    static VM mand(VM a, VM b) { return {_mm256_and_ps(a.v, b.v)}; }
    static VM mor(VM a, VM b) { return {_mm256_or_ps(a.v, b.v)}; }
    static VM mnot(VM a) {
        return {_mm256_xor_ps(a.v, _mm256_castsi256_ps(_mm256_set1_epi32(-1)))};
    }
    static VF select(VM m, VF a, VF b) { return {_mm256_blendv_ps(b.v, a.v, m.v)}; }
    static bool any(VM m) { return _mm256_movemask_ps(m.v) != 0; }
    static VF toFloat(VM m) { return {_mm256_and_ps(m.v, _mm256_set1_ps(1.0f))}; }
    static VI cvtt(VF a) { return {_mm256_cvttps_epi32(a.v)}; }
    static VF cvt(VI a) { return {_mm256_cvtepi32_ps(a.v)}; }
    static VI asInt(VF a) { return {_mm256_castps_si256(a.v)}; }
    static VF asFloat(VI a) { return {_mm256_castsi256_ps(a.v)}; }
    static VI iadd(VI a, VI b) { return {_mm256_add_epi32(a.v, b.v)}; }
    static VI isub(VI a, VI b) { return {_mm256_sub_epi32(a.v, b.v)}; }
    static VI iand(VI a, VI b) { return {_mm256_and_si256(a.v, b.v)}; }
    static VI bor(VI a, VI b) { return {_mm256_or_si256(a.v, b.v)}; }
    template <int K>
    static VI sll(VI a) {
        return {_mm256_slli_epi32(a.v, K)};
    }
    template <int K>
    static VI srl(VI a) {
        return {_mm256_srli_epi32(a.v, K)};
    }
};

}  // namespace avx2

const KernelTable& avx2Kernels() {
    static const KernelTable table =
        EvalBody<avx2::Lane, ScalarLane<eInstructionSet::eAVX2>>::table();
    return table;
}

}  // namespace vimra::formula::detail
