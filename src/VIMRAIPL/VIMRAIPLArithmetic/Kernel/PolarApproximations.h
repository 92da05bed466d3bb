#pragma once

// The single-precision approximations of the polar transforms, written once over
// a lane policy M: ScalarMath below (one float: the standard kernels, a GPU
// kernel) or an instruction set's MathLanes (one register: Simd/VectorBody.h).
// Every path performs the same operations in the same order, each rounded to
// single precision, so the paths agree to the bit. (The kernel files are built
// with -ffp-contract=off: no product may be fused into a sum behind the code.)
//
// A policy provides F (float lanes), I (32-bit integer lanes), M (lane mask) and
// constant, integer, add, subtract, multiply, divide, squareRoot, absolute,
// negate, xorSign, greater, lessOrEqual, isNumber, select, truncate, toFloat,
// addInt, subtractInt, andInt and bitsClear.

#include "Compositions.h"

#include <vimra/image/BufferType.h>

#include <cmath>
#include <cstdint>

namespace vimra::imaproc::arithm::kernel {

/// The lane policy of one float. Conversions and integer steps follow the
/// processor's rules (truncation out of range gives -2^31; integers wrap).
struct ScalarMath {
    using F = float;
    using I = std::int32_t;
    using M = bool;
    VIMRA_HOST_DEVICE static constexpr F constant(float v) { return v; }
    VIMRA_HOST_DEVICE static constexpr I integer(int v) { return v; }
    VIMRA_HOST_DEVICE static constexpr F add(F a, F b) { return a + b; }
    VIMRA_HOST_DEVICE static constexpr F subtract(F a, F b) { return a - b; }
    VIMRA_HOST_DEVICE static constexpr F multiply(F a, F b) { return a * b; }
    VIMRA_HOST_DEVICE static constexpr F divide(F a, F b) { return a / b; }
    VIMRA_HOST_DEVICE static F squareRoot(F x) { return std::sqrt(x); }
    VIMRA_HOST_DEVICE static constexpr F absolute(F x) { return clearSign(x); }
    VIMRA_HOST_DEVICE static constexpr F negate(F x) {
        return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) ^ 0x80000000u);
    }
    VIMRA_HOST_DEVICE static constexpr F xorSign(F x, F s) {
        return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) ^ (std::bit_cast<std::uint32_t>(s) & 0x80000000u));
    }
    VIMRA_HOST_DEVICE static constexpr M greater(F a, F b) { return a > b; }
    VIMRA_HOST_DEVICE static constexpr M lessOrEqual(F a, F b) { return a <= b; }
    VIMRA_HOST_DEVICE static constexpr M isNumber(F x) { return x == x; }
    VIMRA_HOST_DEVICE static constexpr F select(M m, F yes, F no) { return m ? yes : no; }
    VIMRA_HOST_DEVICE static constexpr I truncate(F x) { return truncateToInt32(x); }
    VIMRA_HOST_DEVICE static constexpr F toFloat(I x) { return static_cast<float>(x); }
    VIMRA_HOST_DEVICE static constexpr I addInt(I a, I b) { return wrapAdd(a, b); }
    VIMRA_HOST_DEVICE static constexpr I subtractInt(I a, I b) { return wrapSubtract(a, b); }
    VIMRA_HOST_DEVICE static constexpr I andInt(I a, I b) { return a & b; }
    VIMRA_HOST_DEVICE static constexpr M bitsClear(I x, I bits) { return (x & bits) == 0; }
};

namespace polar {
inline constexpr float s_pi = 3.14159265358979323846f;
inline constexpr float s_halfPi = 1.57079632679489661923f;
inline constexpr float s_quarterPi = 0.78539816339744830962f;
}  // namespace polar

/// sqrt(y*y + x*x): each product and the sum rounded, the root exact.
template <class M>
VIMRA_HOST_DEVICE inline typename M::F radius(typename M::F x, typename M::F y) {
    return M::squareRoot(M::add(M::multiply(y, y), M::multiply(x, x)));
}

/// The angle of (x, y) in [-pi, pi] without library calls: the Cephes
/// single-precision arc tangent of y / x, reduced to [0, tan(pi/8)] and placed
/// in its quadrant. Where |x| <= sqrt_eps the angle snaps to 0 or +-pi/2 (a NaN y
/// still gives NaN). For y = +-0 and x < 0 the result is -pi.
template <class M>
VIMRA_HOST_DEVICE inline typename M::F polarAngle(typename M::F y, typename M::F x) {
    using F = typename M::F;
    const F zero = M::constant(0.0f);
    const F one = M::constant(1.0f);
    const F eps = M::constant(image::NumericLimits<float>::s_sqrt_eps);

    const F t = M::divide(y, x);
    const F s = M::select(M::greater(t, zero), one, M::constant(-1.0f));  // -0 counts as negative
    const F a = M::multiply(s, t);
    const auto beyondThreeEighths = M::greater(a, M::constant(2.4142137f));  // tan(3 pi / 8)
    const auto beyondOneEighth = M::greater(a, M::constant(0.66f));
    const F z = M::select(beyondThreeEighths, M::divide(M::constant(-1.0f), a),
                          M::select(beyondOneEighth, M::divide(M::subtract(a, one), M::add(a, one)), a));
    const F b = M::select(beyondThreeEighths, M::constant(polar::s_halfPi),
                          M::select(beyondOneEighth, M::constant(polar::s_quarterPi), zero));

    const F w = M::multiply(z, z);
    F p = M::subtract(M::multiply(M::constant(-0.87506086f), w), M::constant(16.157537f));
    p = M::subtract(M::multiply(p, w), M::constant(75.00856f));
    p = M::subtract(M::multiply(p, w), M::constant(122.886665f));
    p = M::subtract(M::multiply(p, w), M::constant(64.85022f));
    p = M::multiply(p, w);
    F q = M::add(w, M::constant(24.858465f));
    q = M::add(M::multiply(q, w), M::constant(165.02701f));
    q = M::add(M::multiply(q, w), M::constant(432.88107f));
    q = M::add(M::multiply(q, w), M::constant(485.3904f));
    q = M::add(M::multiply(q, w), M::constant(194.55066f));
    const F arcTangent = M::add(M::add(M::multiply(M::divide(p, q), z), z), b);

    const F theta = M::multiply(s, arcTangent);
    // Left half-plane (x not above 0, NaN included): move by +-pi. Otherwise
    // unchanged, so that -0 stays -0.
    const F shift = M::select(M::greater(y, zero), M::constant(polar::s_pi), M::constant(-polar::s_pi));
    const F placed = M::select(M::greater(x, zero), theta, M::add(theta, shift));

    const F snapped = M::select(M::lessOrEqual(M::absolute(y), eps), zero,
                                M::select(M::greater(y, zero), M::constant(polar::s_halfPi),
                                          M::constant(-polar::s_halfPi)));
    return M::select(M::lessOrEqual(M::absolute(x), eps), M::select(M::isNumber(y), snapped, placed), placed);
}

/// Sine and cosine of theta without library calls: theta reduced by multiples of
/// pi/4 in three parts, then the Cephes single-precision polynomials, chosen and
/// signed by the octant. Accuracy falls off for very large |theta|, as the
/// reduction allows. (Results by reference: register types lose their
/// attributes as template arguments.)
template <class M>
VIMRA_HOST_DEVICE inline void sineCosine(typename M::F theta, typename M::F& sineOut, typename M::F& cosineOut) {
    using F = typename M::F;
    using I = typename M::I;
    const F ax = M::absolute(theta);
    I j = M::truncate(M::multiply(ax, M::constant(1.2732395f)));  // 4 / pi
    j = M::andInt(M::addInt(j, M::integer(1)), M::integer(~1));
    const F q = M::toFloat(j);
    const F r = M::add(M::add(M::add(M::multiply(q, M::constant(-0.78515625f)), ax),
                              M::multiply(q, M::constant(-2.4187565e-4f))),
                       M::multiply(q, M::constant(-3.774895e-8f)));
    const F w = M::multiply(r, r);

    F sp = M::add(M::multiply(w, M::constant(-1.9515296e-4f)), M::constant(8.332161e-3f));
    sp = M::subtract(M::multiply(sp, w), M::constant(0.16666655f));
    const F sine = M::add(M::multiply(M::multiply(sp, w), r), r);
    F cp = M::subtract(M::multiply(w, M::constant(2.4433157e-5f)), M::constant(1.3887316e-3f));
    cp = M::add(M::multiply(cp, w), M::constant(0.041666646f));
    const F cosine = M::add(M::subtract(M::multiply(M::multiply(cp, w), w), M::multiply(M::constant(0.5f), w)),
                            M::constant(1.0f));

    const auto unswapped = M::bitsClear(j, M::integer(2));
    F sinR = M::select(unswapped, sine, cosine);
    F cosR = M::select(unswapped, cosine, sine);
    cosR = M::select(M::bitsClear(M::subtractInt(j, M::integer(2)), M::integer(4)), M::negate(cosR), cosR);
    sinR = M::xorSign(sinR, theta);
    sineOut = M::select(M::bitsClear(j, M::integer(4)), sinR, M::negate(sinR));
    cosineOut = cosR;
}

}  // namespace vimra::imaproc::arithm::kernel
