#pragma once

// Float32 functions of the evaluator, written once over a lane type L (a scalar
// or a vector of 4, 8 or 16 floats). They use only operations that IEEE 754
// rounds exactly (+ - * / sqrt, conversions of in-range values, bit operations)
// and no fused multiply-add, so every width computes the same bits. Files that
// include this are compiled with -ffp-contract=off.
//
// The lane type provides: VF VM VI (float, mask and int32 vectors), W, load,
// store, set1, iset1, operators + - * / on VF, sqrt, band bor bxor, lt le gt ge
// eq (ordered) ne (unordered or different) unord, mand mor mnot select any,
// toFloat (mask to 1/0), cvtt (truncation of in-range values), cvt, asInt,
// asFloat, iadd isub iand, sll<k> srl<k>.

#include <cstddef>
#include <cstdint>

namespace vimra::formula::detail {

template <class L>
struct FloatMath {
    using VF = typename L::VF;
    using VM = typename L::VM;
    using VI = typename L::VI;

    static VF c(float v) { return L::set1(v); }
    /// k[0] x^(N-1) + ... + k[N-1], by Horner's rule.
    template <std::size_t N>
    static VF horner(VF x, const float (&k)[N]) {
        VF p = c(k[0]);
        for (std::size_t i = 1; i < N; ++i) p = p * x + c(k[i]);
        return p;
    }
    static VF qnan() { return L::asFloat(L::iset1(0x7fc00000)); }
    static VF abs(VF x) { return L::band(x, L::asFloat(L::iset1(0x7fffffff))); }
    static VF signOf(VF x) { return L::band(x, L::asFloat(L::iset1(INT32_MIN))); }
    static VF copySign(VF mag, VF sign) { return L::bor(abs(mag), signOf(sign)); }
    static VM isNan(VF x) { return L::unord(x, x); }
    static VF canonical(VF x) { return L::select(isNan(x), qnan(), x); }
    static VM signBitSet(VF x) { return L::lt(L::bor(signOf(x), c(1.0f)), c(0.0f)); }
    /// 2^k for integer-valued k in [-126, 127].
    static VF pow2i(VF k) {
        return L::asFloat(L::template sll<23>(L::iadd(L::cvtt(k), L::iset1(127))));
    }

    // ---- rounding -----------------------------------------------------------------------
    // Values of magnitude 2^23 and above are integers already; only smaller ones
    // go through the conversion, which is exact for them.
    static VF trunc(VF x) {
        const VM small = L::lt(abs(x), c(8388608.0f));
        const VF t = L::cvt(L::cvtt(L::select(small, x, c(0.0f))));
        return L::select(small, copySign(t, x), x);
    }
    static VF floor(VF x) {
        const VF t = trunc(x);
        return L::select(L::gt(t, x), t - c(1.0f), t);
    }
    static VF ceil(VF x) {
        const VF t = trunc(x);
        return L::select(L::lt(t, x), t + c(1.0f), t);
    }
    /// Half away from zero, exactly: the fraction x - trunc(x) is exact.
    static VF round(VF x) {
        const VF t = trunc(x);
        const VM up = L::ge(abs(x - t), c(0.5f));
        return copySign(L::select(up, t + copySign(c(1.0f), x), t), x);
    }
    static VF frac(VF x) { return x - floor(x); }
    static VF nearest(VF x) { return floor(x + c(0.5f)); }  // for reductions only

    static VF sign(VF x) {
        return L::select(L::gt(x, c(0.0f)), c(1.0f), L::select(L::lt(x, c(0.0f)), c(-1.0f), x));
    }

    // ---- min and max: NaN from either side, signed zeros ordered -----------------------
    static VF min(VF a, VF b) {
        VF r = L::select(L::lt(a, b), a, b);
        r = L::select(L::eq(a, b), L::bor(a, b), r);  // min(-0, +0) is -0 either way
        return L::select(L::unord(a, b), qnan(), r);
    }
    static VF max(VF a, VF b) {
        VF r = L::select(L::gt(a, b), a, b);
        r = L::select(L::eq(a, b), L::band(a, b), r);  // max(-0, +0) is +0 either way
        return L::select(L::unord(a, b), qnan(), r);
    }

    // ---- exponentials ---------------------------------------------------------------------
    /// 2^n * p for integer-valued n in [-151, 129], in two steps so that
    /// subnormal results are rounded once.
    static VF scale(VF p, VF n) {
        const VF n1 = trunc(n * c(0.5f));
        return (p * pow2i(n1)) * pow2i(n - n1);
    }
    /// x clamped to [lo, hi], NaN to 0: reductions convert it to an integer.
    static VF bounded(VF x, float lo, float hi) {
        const VF b = L::select(L::lt(x, c(lo)), c(lo), L::select(L::gt(x, c(hi)), c(hi), x));
        return L::select(isNan(x), c(0.0f), b);
    }
    static VF exp(VF x) {
        const VF xc = bounded(x, -104.0f, 89.0f);
        const VF n = nearest(xc * c(1.44269502163f));
        // n * hi is exact: hi has 16 significant bits and |n| <= 151.
        const VF r = (xc - n * c(0.693145751953125f)) - n * c(1.428606765330187e-06f);
        const VF p = horner(r, {1.0f / 5040.0f, 1.0f / 720.0f, 1.0f / 120.0f, 1.0f / 24.0f,
                                1.0f / 6.0f, 0.5f, 1.0f, 1.0f});
        return L::select(isNan(x), x, scale(p, n));
    }
    static VF exp2(VF x) {
        const VF xc = bounded(x, -152.0f, 129.0f);
        const VF n = nearest(xc);
        const VF r = xc - n;  // exact
        // 2^r = sum (r ln2)^k / k!
        const VF p = horner(
            r, {1.01780860e-07f, 1.32154867e-06f, 1.52527338e-05f, 1.54035304e-04f, 1.33335581e-03f,
                9.61812911e-03f, 5.55041087e-02f, 2.40226507e-01f, 6.93147181e-01f, 1.0f});
        return L::select(isNan(x), x, scale(p, n));
    }

    // ---- logarithms ----------------------------------------------------------------------
    /// x = 2^e * (1 + f) with 1 + f in [sqrt(1/2), sqrt(2)); e and log(1 + f)
    /// as the parts (log1p = f - hfsq + s * (hfsq + R)).
    struct LogParts {
        VF e, f, hfsq, sr;  // log(1 + f) = f - (hfsq - sr)
    };
    static LogParts logParts(VF x) {
        const VM sub = L::lt(x, c(1.17549435e-38f));
        const VF xs = L::select(sub, x * c(8388608.0f), x);
        const VI bits = L::asInt(xs);
        VF e = L::cvt(L::isub(L::template srl<23>(bits), L::iset1(127)));
        e = L::select(sub, e - c(23.0f), e);
        VF m = L::asFloat(L::bor(L::iand(bits, L::iset1(0x007fffff)), L::iset1(0x3f800000)));
        const VM big = L::gt(m, c(1.41421356f));
        m = L::select(big, m * c(0.5f), m);
        e = L::select(big, e + c(1.0f), e);
        const VF f = m - c(1.0f);  // exact
        const VF s = f / (c(2.0f) + f);
        const VF z = s * s;
        VF R = horner(z, {2.0f / 11.0f, 2.0f / 9.0f, 2.0f / 7.0f, 2.0f / 5.0f, 2.0f / 3.0f});
        R = R * z;
        const VF hfsq = c(0.5f) * f * f;
        return {e, f, hfsq, s * (hfsq + R)};
    }
    /// NaN below 0 and for NaN, -inf at 0, +inf at +inf.
    static VF logSpecial(VF x, VF r) {
        r = L::select(L::eq(x, c(0.0f)), c(-__builtin_inff()), r);
        r = L::select(L::eq(x, c(__builtin_inff())), x, r);
        return L::select(L::mor(L::lt(x, c(0.0f)), isNan(x)), qnan(), r);
    }
    static VF log(VF x) {
        const LogParts p = logParts(x);
        const VF r = p.e * c(0.693145751953125f) -
                     ((p.hfsq - (p.sr + p.e * c(1.428606765330187e-06f))) - p.f);
        return logSpecial(x, r);
    }
    static VF log2(VF x) {
        const LogParts p = logParts(x);
        const VF l = p.f - (p.hfsq - p.sr);
        return logSpecial(x, p.e + l * c(1.44269502163f));
    }
    static VF log10(VF x) {
        const LogParts p = logParts(x);
        const VF l = p.f - (p.hfsq - p.sr);
        const VF r =
            p.e * c(0.301025390625f) + (l * c(0.434294492f) + p.e * c(4.605039066518657e-06f));
        return logSpecial(x, r);
    }

    // ---- trigonometry --------------------------------------------------------------------
    /// x = j * pi/2 + r with |r| <= pi/4 (accurate while |j| < 2^16); q = j mod 4.
    static void reduce(VF x, VF& r, VF& q) {
        const VF j = nearest(x * c(0.636619747f));
        r = x - j * c(1.5703125f);
        r = r - j * c(0.0004825592041015625f);
        r = r - j * c(1.2665987014770508e-06f);
        r = r - j * c(9.92093629470503e-10f);
        q = j - c(4.0f) * floor(j * c(0.25f));
    }
    static VF sinPoly(VF r) {
        const VF z = r * r;
        const VF p = horner(z, {-2.50521084e-08f, 2.75573192e-06f, -1.98412698e-04f,
                                8.33333333e-03f, -1.66666667e-01f});
        return r + r * z * p;
    }
    static VF cosPoly(VF r) {
        const VF z = r * r;
        const VF p = horner(z, {-1.14707456e-11f, 2.08767570e-09f, -2.75573192e-07f,
                                2.48015873e-05f, -1.38888889e-03f, 4.16666667e-02f});
        return c(1.0f) - c(0.5f) * z + z * z * p;
    }
    /// sin(x + k pi/2) for quadrant offset k (0 for sin, 1 for cos).
    static VF sinShifted(VF x, float k) {
        VF r, q;
        reduce(x, r, q);
        q = q + c(k);
        q = L::select(L::ge(q, c(4.0f)), q - c(4.0f), q);
        const VM odd = L::mor(L::eq(q, c(1.0f)), L::eq(q, c(3.0f)));
        const VM negative = L::ge(q, c(2.0f));
        const VF v = L::select(odd, cosPoly(r), sinPoly(r));
        return L::select(negative, c(0.0f) - v, v);
    }
    static VF sin(VF x) { return sinShifted(x, 0.0f); }
    static VF cos(VF x) { return sinShifted(x, 1.0f); }
    static VF tan(VF x) {
        VF r, q;
        reduce(x, r, q);
        const VF s = sinPoly(r), co = cosPoly(r);
        const VM odd = L::mor(L::eq(q, c(1.0f)), L::eq(q, c(3.0f)));
        return L::select(odd, (c(0.0f) - co) / s, s / co);
    }
    /// atan of t in [0, 1].
    static VF atanUnit(VF t) {
        // Above tan(pi/12): atan(t) = pi/6 + atan((t sqrt3 - 1) / (t + sqrt3)).
        const VM hi = L::gt(t, c(0.267949194f));
        const VF u = L::select(hi, (t * c(1.73205078f) - c(1.0f)) / (t + c(1.73205078f)), t);
        const VF z = u * u;
        const VF p = horner(z, {-1.0f / 15.0f, 1.0f / 13.0f, -1.0f / 11.0f, 1.0f / 9.0f,
                                -1.0f / 7.0f, 1.0f / 5.0f, -1.0f / 3.0f});
        const VF a = u + u * z * p;
        return L::select(hi, (c(0.523598790f) + a) + c(-1.457046305830545e-08f), a);
    }
    static VF atan2(VF y, VF x) {
        const VF ax = abs(x), ay = abs(y);
        const VM swap = L::gt(ay, ax);
        VF t = L::select(swap, ax, ay) / L::select(swap, ay, ax);
        const VF inf = c(__builtin_inff());
        t = L::select(L::mand(L::eq(ax, c(0.0f)), L::eq(ay, c(0.0f))), c(0.0f), t);
        t = L::select(L::mand(L::eq(ax, inf), L::eq(ay, inf)), c(1.0f), t);
        VF a = atanUnit(t);
        a = L::select(swap, (c(1.57079637f) - a) + c(-4.371138828673793e-08f), a);
        a = L::select(L::mand(L::eq(ax, inf), L::eq(ay, inf)), c(0.785398185f), a);  // exactly pi/4
        a = L::select(signBitSet(x), (c(3.14159274f) - a) + c(-8.742277657347586e-08f), a);
        return L::select(L::unord(x, y), x + y, copySign(a, y));
    }
    static VF atan(VF x) {
        const VF ax = abs(x);
        const VM inv = L::gt(ax, c(1.0f));
        VF a = atanUnit(L::select(inv, c(1.0f) / ax, ax));
        a = L::select(inv, (c(1.57079637f) - a) + c(-4.371138828673793e-08f), a);
        return L::select(isNan(x), x, copySign(a, x));
    }
    static VF asin(VF x) { return atan2(x, L::sqrt((c(1.0f) - x) * (c(1.0f) + x))); }
    static VF acos(VF x) { return atan2(L::sqrt((c(1.0f) - x) * (c(1.0f) + x)), x); }

    // ---- hyperbolic ------------------------------------------------------------------------
    static VF sinhSeries(VF a) {
        const VF z = a * a;
        const VF p = horner(z, {1.0f / 6227020800.0f, 1.0f / 39916800.0f, 1.0f / 362880.0f,
                                1.0f / 5040.0f, 1.0f / 120.0f, 1.0f / 6.0f});
        return a + a * z * p;
    }
    static VF coshSeries(VF a) {
        const VF z = a * a;
        const VF p = horner(z, {1.0f / 87178291200.0f, 1.0f / 479001600.0f, 1.0f / 3628800.0f,
                                1.0f / 40320.0f, 1.0f / 720.0f, 1.0f / 24.0f});
        return c(1.0f) + z * (c(0.5f) + z * p);
    }
    /// e^a / 2 for a >= 0 without overflowing early: e^(a/2) * e^(a/2) / 2.
    static VF halfExp(VF a) {
        const VF h = exp(a * c(0.5f));
        return (c(0.5f) * h) * h;
    }
    static VF sinh(VF x) {
        const VF a = abs(x);
        const VF e = exp(a);
        VF r = L::select(L::lt(a, c(1.0f)), sinhSeries(a), c(0.5f) * (e - c(1.0f) / e));
        r = L::select(L::gt(a, c(80.0f)), halfExp(a), r);
        return L::select(isNan(x), x, copySign(r, x));
    }
    static VF cosh(VF x) {
        const VF a = abs(x);
        const VF e = exp(a);
        VF r = L::select(L::lt(a, c(1.0f)), coshSeries(a), c(0.5f) * (e + c(1.0f) / e));
        r = L::select(L::gt(a, c(80.0f)), halfExp(a), r);
        return L::select(isNan(x), x, r);
    }
    static VF tanh(VF x) {
        const VF a = abs(x);
        const VF small = sinhSeries(a) / coshSeries(a);
        const VF large = c(1.0f) - c(2.0f) / (exp(a + a) + c(1.0f));
        VF r = L::select(L::lt(a, c(1.0f)), small, large);
        r = L::select(L::gt(a, c(9.5f)), c(1.0f), r);
        return L::select(isNan(x), x, copySign(r, x));
    }

    // ---- roots and distances ---------------------------------------------------------------
    static VF cbrt(VF x) {
        const VF a = abs(x);
        const VM sub = L::lt(a, c(1.17549435e-38f));
        const VF as = L::select(sub, a * c(16777216.0f), a);  // 2^24: the root scales by 2^8
        // A first guess from the bit pattern (exponent / 3), then Newton steps.
        const VF bits = L::cvt(L::asInt(as));
        VF y = L::asFloat(L::cvtt(bits * c(1.0f / 3.0f) + c(709921077.0f)));
        for (int i = 0; i < 4; ++i) y = (y + y + as / (y * y)) * c(1.0f / 3.0f);
        y = L::select(sub, y * c(1.0f / 256.0f), y);
        const VM passThrough =
            L::mor(L::mor(L::eq(a, c(0.0f)), L::eq(a, c(__builtin_inff()))), isNan(x));
        return L::select(passThrough, x, copySign(y, x));
    }
    static VF hypot(VF a, VF b) {
        const VF x = abs(a), y = abs(b);
        const VF big = max(x, y), small = min(x, y);
        const VF q = small / big;
        VF r = big * L::sqrt(c(1.0f) + q * q);
        r = L::select(L::eq(big, c(0.0f)), c(0.0f), r);
        const VF inf = c(__builtin_inff());
        r = L::select(L::unord(a, b), qnan(), r);
        return L::select(L::mor(L::eq(x, inf), L::eq(y, inf)), inf, r);
    }
};

}  // namespace vimra::formula::detail
