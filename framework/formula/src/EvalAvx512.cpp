// AVX-512 evaluator: 16 floats per lane, comparisons in mask registers.
// Compiled with the AVX-512 flags only. The tests compile it a second time,
// against a portable implementation of the intrinsics, under other names.

#include "EvalBody.h"
#include "ScalarLane.h"

#ifndef VIMRA_FORMULA_AVX512_NS
// g++ 12 reports the _mm512_undefined_* placeholders of its own header as
// uninitialised where they are inlined; the warnings carry the header's location.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
#define VIMRA_FORMULA_AVX512_NS avx512
#define VIMRA_FORMULA_AVX512_TABLE avx512Kernels
#define VIMRA_FORMULA_AVX512_TAIL eInstructionSet::eAVX512
#define VIMRA_FORMULA_AVX512_MASK __mmask16
#endif

namespace vimra::formula::detail {
namespace VIMRA_FORMULA_AVX512_NS {

struct Lane {
    static constexpr int W = 16;
    struct VF {
        __m512 v;
        friend VF operator+(VF a, VF b) { return {_mm512_add_ps(a.v, b.v)}; }
        friend VF operator-(VF a, VF b) { return {_mm512_sub_ps(a.v, b.v)}; }
        friend VF operator*(VF a, VF b) { return {_mm512_mul_ps(a.v, b.v)}; }
        friend VF operator/(VF a, VF b) { return {_mm512_div_ps(a.v, b.v)}; }
    };
    struct VM {
        VIMRA_FORMULA_AVX512_MASK v;
    };
    struct VI {
        __m512i v;
    };
    static VF load(const float* p) { return {_mm512_loadu_ps(p)}; }
    static void store(float* p, VF a) { _mm512_storeu_ps(p, a.v); }
    static VF set1(float v) { return {_mm512_set1_ps(v)}; }
    static VI iset1(std::int32_t v) { return {_mm512_set1_epi32(v)}; }
    static VF sqrt(VF a) { return {_mm512_sqrt_ps(a.v)}; }
    static VF band(VF a, VF b) { return {_mm512_and_ps(a.v, b.v)}; }
    static VF bor(VF a, VF b) { return {_mm512_or_ps(a.v, b.v)}; }
    static VF bxor(VF a, VF b) { return {_mm512_xor_ps(a.v, b.v)}; }
    static VM lt(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)}; }
    static VM le(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LE_OQ)}; }
    static VM gt(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GT_OQ)}; }
    static VM ge(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GE_OQ)}; }
    static VM eq(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ)}; }
    static VM ne(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_NEQ_UQ)}; }
    static VM unord(VF a, VF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_UNORD_Q)}; }
    static VM mand(VM a, VM b) { return {static_cast<VIMRA_FORMULA_AVX512_MASK>(a.v & b.v)}; }
    static VM mor(VM a, VM b) { return {static_cast<VIMRA_FORMULA_AVX512_MASK>(a.v | b.v)}; }
    static VM mnot(VM a) { return {static_cast<VIMRA_FORMULA_AVX512_MASK>(~a.v)}; }
    static VF select(VM m, VF a, VF b) { return {_mm512_mask_blend_ps(m.v, b.v, a.v)}; }
    static bool any(VM m) { return m.v != 0; }
    static VF toFloat(VM m) { return {_mm512_maskz_mov_ps(m.v, _mm512_set1_ps(1.0f))}; }
    static VI cvtt(VF a) { return {_mm512_cvttps_epi32(a.v)}; }
    static VF cvt(VI a) { return {_mm512_cvtepi32_ps(a.v)}; }
    static VI asInt(VF a) { return {_mm512_castps_si512(a.v)}; }
    static VF asFloat(VI a) { return {_mm512_castsi512_ps(a.v)}; }
    static VI iadd(VI a, VI b) { return {_mm512_add_epi32(a.v, b.v)}; }
    static VI isub(VI a, VI b) { return {_mm512_sub_epi32(a.v, b.v)}; }
    static VI iand(VI a, VI b) { return {_mm512_and_si512(a.v, b.v)}; }
    static VI bor(VI a, VI b) { return {_mm512_or_si512(a.v, b.v)}; }
    template <int K>
    static VI sll(VI a) {
        return {_mm512_slli_epi32(a.v, K)};
    }
    template <int K>
    static VI srl(VI a) {
        return {_mm512_srli_epi32(a.v, K)};
    }
};

}  // namespace VIMRA_FORMULA_AVX512_NS

const KernelTable& VIMRA_FORMULA_AVX512_TABLE() {
    static const KernelTable table =
        EvalBody<VIMRA_FORMULA_AVX512_NS::Lane, ScalarLane<VIMRA_FORMULA_AVX512_TAIL>>::table();
    return table;
}

}  // namespace vimra::formula::detail
