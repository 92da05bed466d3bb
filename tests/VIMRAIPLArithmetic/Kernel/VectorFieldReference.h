#pragma once

// Independent scalar model of the vector-field kernels (L1 and L2 norms, polar
// transforms), written from their rules: norms in 64-bit integers or explicit
// single-precision steps, the approximations re-implemented branch by branch
// from their constants. Shares no code with the kernels.

#include "ScalarReference.h"

#include <vimra/image/BufferType.h>

#include <cmath>
#include <cstdint>

namespace vimra::arithm_test::ref {

// ---- norms -----------------------------------------------------------------------------------

inline float magnitudeF(float x) {
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) & 0x7fffffffu);
}

/// |v[0]| + ... + |v[n-1]| of inputs of type t, converted to out.
inline BinaryExpectation expectL1(int t, const Value* v, int n, int out, eIsa isa) {
    if (info(t).isFloat) {
        float s = magnitudeF(v[0].f);
        for (int k = 1; k < n; ++k) s = s + magnitudeF(v[k].f);
        return expectConversion(eFloat, floatValue(s), out, isa);
    }
    std::int64_t exact = 0;
    for (int k = 0; k < n; ++k) exact += v[k].i < 0 ? -v[k].i : v[k].i;
    BinaryExpectation e;
    // Standard: the sum in the input's width, wrapping, then converted.
    e.standard = expectConversion(t, intValue(wrap(t, exact)), out, isa).standard;
    // Vector: 8- and 16-bit inputs sum exactly in 16- and 32-bit lanes; 32-bit
    // inputs sum in their own width.
    if (info(t).bytes < 4) {
        e.vector = expectConversion(info(t).bytes == 1 ? eInt16 : eInt32, intValue(exact), out, isa)
                       .vector;
    } else {
        e.vector = expectConversion(t, intValue(wrap(t, exact)), out, isa).vector;
    }
    e.mustAgree = inRange(t, exact) && (info(out).isFloat || inRange(out, exact));
    return e;
}

inline float asFloat(int t, const Value& v) {
    return info(t).isFloat ? v.f : static_cast<float>(v.i);
}

/// sqrt(a*a + b*b (+ c*c)) with every product and sum rounded.
inline float l2Rounded(int t, const Value* v, int n) {
    float s = asFloat(t, v[0]) * asFloat(t, v[0]);
    for (int k = 1; k < n; ++k) {
        const float p = asFloat(t, v[k]) * asFloat(t, v[k]);
        s = s + p;
    }
    return std::sqrt(s);
}

/// The same with the second and third products fused into the sum.
inline float l2Fused(int t, const Value* v, int n) {
    float s = asFloat(t, v[0]) * asFloat(t, v[0]);
    for (int k = 1; k < n; ++k) s = std::fma(asFloat(t, v[k]), asFloat(t, v[k]), s);
    return std::sqrt(s);
}

inline BinaryExpectation expectL2(int t, const Value* v, int n, int out, eIsa isa) {
    const float rounded = l2Rounded(t, v, n);
    BinaryExpectation e = expectConversion(eFloat, floatValue(rounded), out, isa);
    if (isa == eIsa::eAvx512) {
        e.vector = expectConversion(eFloat, floatValue(l2Fused(t, v, n)), out, isa).vector;
        e.mustAgree = false;  // the last bit may differ
    }
    return e;
}

// ---- polar transforms ------------------------------------------------------------------------

inline constexpr float s_pi = 3.14159265358979323846f;
inline constexpr float s_halfPi = 1.57079632679489661923f;
inline constexpr float s_quarterPi = 0.78539816339744830962f;

inline float radius(float x, float y) {
    const float yy = y * y;
    const float xx = x * x;
    return std::sqrt(yy + xx);
}

/// The vector kernels' angle of (x, y).
inline float approximateAngle(float y, float x) {
    const float eps = image::NumericLimits<float>::s_sqrt_eps;
    if (std::fabs(x) <= eps && !std::isnan(y)) {
        if (std::fabs(y) <= eps) return 0.0f;
        return y > 0.0f ? s_halfPi : -s_halfPi;
    }
    const float t = y / x;
    const float s = t > 0.0f ? 1.0f : -1.0f;
    const float a = s * t;
    float z, b;
    if (a > 2.4142137f) {
        z = -1.0f / a;
        b = s_halfPi;
    } else if (a > 0.66f) {
        z = (a - 1.0f) / (a + 1.0f);
        b = s_quarterPi;
    } else {
        z = a;
        b = 0.0f;
    }
    const float w = z * z;
    float p = -0.87506086f * w;
    p = p - 16.157537f;
    p = p * w - 75.00856f;
    p = p * w - 122.886665f;
    p = p * w - 64.85022f;
    p = p * w;
    float q = w + 24.858465f;
    q = q * w + 165.02701f;
    q = q * w + 432.88107f;
    q = q * w + 485.3904f;
    q = q * w + 194.55066f;
    const float ratio = p / q;
    const float atanZ = ratio * z + z;
    float theta = s * (atanZ + b);
    if (!(x > 0.0f)) theta = theta + (y > 0.0f ? s_pi : -s_pi);
    return theta;
}

/// The processor kernels' (sine, cosine) of theta.
inline void approximateSineCosine(float theta, float& sine, float& cosine) {
    const float ax = std::fabs(theta);
    std::int64_t j = truncate32(ax * 1.2732395f);
    j = (j + 1) & ~std::int64_t{1};
    const float q = static_cast<float>(j);
    const float r = ((q * -0.78515625f + ax) + q * -2.4187565e-4f) + q * -3.774895e-8f;
    const float w = r * r;
    const float sp = ((w * -1.9515296e-4f + 8.332161e-3f) * w - 0.16666655f) * w;
    const float s = sp * r + r;
    const float cp = ((w * 2.4433157e-5f - 1.3887316e-3f) * w + 0.041666646f) * w;
    const float c = (cp * w - 0.5f * w) + 1.0f;
    const bool swap = (j & 2) != 0;
    sine = swap ? c : s;
    cosine = swap ? s : c;
    if (((j - 2) & 4) == 0) cosine = -cosine;
    if (std::signbit(theta) != ((j & 4) != 0)) sine = -sine;
}

}  // namespace vimra::arithm_test::ref
