#pragma once

// Independent scalar model of the selecting and weighing two-image kernels (min,
// max, maxAbs, blend, linear combination, complex multiplication), written from
// their documented rules on top of the conversion rules of ScalarReference.h:
// integer values are carried exactly in 64 bits, float arithmetic is done one
// rounded operation at a time.

#include "ScalarReference.h"

#include <cmath>
#include <cstdint>

namespace vimra::arithm_test::ref {

enum class eSelect { eMin, eMax, eMaxAbs };

/// An input as a float: its own value, or the nearest float to an integer.
inline float asFloat(int t, const Value& v) {
    return info(t).isFloat ? v.f : toFloat(v.i);
}

inline float clearSignBit(float x) {
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) & 0x7fffffffu);
}

/// The documented float selection: a NaN in either input gives NaN (the first
/// input's when both are); otherwise the smaller (larger) value, and on equal
/// values the second input's (visible only for -0 against +0).
inline float selectFloat(eSelect op, float a, float b) {
    if (op == eSelect::eMaxAbs) {
        a = clearSignBit(a);
        b = clearSignBit(b);
    }
    if (std::isnan(a)) return a;
    if (std::isnan(b)) return b;
    if (op == eSelect::eMin) return a < b ? a : b;
    return a > b ? a : b;
}

/// The selected integer value, exactly: min, max, or max(|a|, |b|).
inline std::int64_t selectInteger(eSelect op, std::int64_t a, std::int64_t b) {
    switch (op) {
        case eSelect::eMin:
            return std::min(a, b);
        case eSelect::eMax:
            return std::max(a, b);
        default:
            return std::max(a < 0 ? -a : a, b < 0 ? -b : b);
    }
}

/// Standard and vector results of min, max or maxAbs for one pixel.
inline BinaryExpectation expectSelect(eSelect op, int ta, const Value& a, int tb, const Value& b, int out,
                                      eIsa isa) {
    BinaryExpectation e;
    if (info(ta).isFloat || info(tb).isFloat) {
        // Compared in float; the selection converts like a two-input float result.
        const float r = selectFloat(op, asFloat(ta, a), asFloat(tb, b));
        e.standard = standardFromFloat(out, r);
        if (info(out).isFloat) {
            e.vector = floatValue(r);
            e.mustAgree = true;
        } else {
            e.vector = intValue(out == eUInt32 ? floatToUInt32(r, isa) : narrowFrom32(out, truncate32(r), isa));
            const double t = std::trunc(static_cast<double>(r));
            e.mustAgree = !std::isnan(t) && t >= static_cast<double>(info(out).min) &&
                          t <= static_cast<double>(info(out).max);
        }
        return e;
    }
    const std::int64_t v = selectInteger(op, a.i, b.i);
    if (info(out).isFloat) {
        e.standard = e.vector = floatValue(toFloat(v));
        e.mustAgree = true;
        return e;
    }
    e.standard = intValue(wrap(out, v));
    // Vector lanes: 16 bits for two 8-bit inputs, 32 bits otherwise; narrower
    // outputs saturate from the lane read as signed.
    const int laneBytes = info(ta).bytes == 1 && info(tb).bytes == 1 ? 2 : 4;
    if (info(out).bytes >= laneBytes) {
        e.vector = intValue(wrap(out, v));
    } else if (laneBytes == 4) {
        e.vector = intValue(narrowFrom32(out, wrap(eInt32, v), isa));
    } else {
        e.vector = intValue(narrowFrom16(out, v));
    }
    e.mustAgree = inRange(out, v);
    return e;
}

/// Blend, multiplier m: second * (1 - m) + first * m, every step rounded to float;
/// integer outputs truncate to 32 bits, then wrap (standard) or saturate (vector).
inline BinaryExpectation expectBlend(float m, int ta, const Value& a, int tb, const Value& b, int out, eIsa isa) {
    const float oneMinus = 1.0f - m;
    const float p2 = asFloat(tb, b) * oneMinus;
    const float p1 = asFloat(ta, a) * m;
    return expectConversion(eFloat, floatValue(p2 + p1), out, isa);
}

/// Linear combination: first * f1 + second * f2 in float; integer outputs round
/// half away from zero (the half added in float) and saturate, NaN giving 0, the
/// same on every path.
inline Value linearCombination(float f1, float f2, int ta, const Value& a, int tb, const Value& b, int out) {
    const float p1 = asFloat(ta, a) * f1;
    const float p2 = asFloat(tb, b) * f2;
    const float s = p1 + p2;
    if (info(out).isFloat) return floatValue(s);
    if (std::isnan(s)) return intValue(0);
    const float y = s >= 0.0f ? s + 0.5f : s - 0.5f;
    const double lo = static_cast<double>(info(out).min), hi = static_cast<double>(info(out).max);
    const double yd = static_cast<double>(y);
    if (yd > hi) return intValue(info(out).max);
    if (yd < lo) return intValue(info(out).min);
    return intValue(static_cast<std::int64_t>(std::trunc(yd)));
}

/// Complex product (a + ib)(c + id): real c*a - b*d, imaginary a*d + b*c. Unfused,
/// every product is rounded to float; fused, the second product of each is not
/// rounded before the difference or sum (one rounding, as fmaf computes).
struct ComplexValue {
    float real, imag;
};
inline ComplexValue complexProduct(float a, float b, float c, float d, bool fused) {
    const float ca = c * a, ad = a * d;
    if (fused) return {std::fmaf(-b, d, ca), std::fmaf(b, c, ad)};
    const float bd = b * d, bc = b * c;
    return {ca - bd, ad + bc};
}

}  // namespace vimra::arithm_test::ref
