// Instructions computed one element at a time, compiled once for every
// instruction set: exact remainders, pow, maps and piecewise-linear tables.
// Nothing here calls the C library's mathematics.

#include "Kernels.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

namespace vimra::formula::detail {

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

bool isNan(float v) {
    return v != v;
}
float absf(float v) {
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(v) & 0x7fffffffu);
}
bool signBit(float v) {
    return (std::bit_cast<std::uint32_t>(v) >> 31) != 0;
}
float copySign(float mag, float sign) {
    return std::bit_cast<float>((std::bit_cast<std::uint32_t>(mag) & 0x7fffffffu) |
                                (std::bit_cast<std::uint32_t>(sign) & 0x80000000u));
}
/// 2^n for n in [-1022, 1023].
double pow2d(int n) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
}

/// log2 of a positive, finite, non-zero value, to about 1e-16.
double log2d(double x) {
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(x);
    int e = static_cast<int>((bits >> 52) & 0x7ff) - 1023;  // floats are normal doubles
    double m = std::bit_cast<double>((bits & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    if (m > 1.4142135623730951) {
        m *= 0.5;
        ++e;
    }
    const double s = (m - 1.0) / (m + 1.0), z = s * s;
    double p = 1.0 / 23.0;
    for (int k = 21; k >= 1; k -= 2) p = p * z + 1.0 / k;
    return e + 2.0 * s * p * 1.4426950408889634;
}

/// 2^y for y in [-152, 130].
double exp2d(double y) {
    const double n = static_cast<double>(static_cast<int>(y + 1000.5) - 1000);  // floor(y + 0.5)
    const double t = (y - n) * 0.6931471805599453;
    double p = 1.0;
    for (int k = 14; k >= 1; --k) p = 1.0 + p * t / k;
    return p * pow2d(static_cast<int>(n));
}

bool isIntegral(float b) {
    if (absf(b) >= 8388608.0f) return true;  // 2^23 and above: no fraction bits left
    return static_cast<float>(static_cast<std::int32_t>(b)) == b;
}
bool isOddIntegral(float b) {
    if (absf(b) >= 16777216.0f || !isIntegral(b)) return false;
    return (static_cast<std::int32_t>(b) & 1) != 0;
}

}  // namespace

float exactFmod(float a, float b) {
    if (isNan(a) || isNan(b)) return kNan;
    const float ax = absf(a), bx = absf(b);
    if (ax == kInf || bx == 0.0f) return kNan;
    if (ax < bx || bx == kInf) return a;
    // a = ma 2^(ea-150), b = mb 2^(eb-150); the remainder is (ma 2^(ea-eb) mod mb) 2^(eb-150).
    const std::uint32_t ia = std::bit_cast<std::uint32_t>(ax),
                        ib = std::bit_cast<std::uint32_t>(bx);
    int ea = static_cast<int>(ia >> 23), eb = static_cast<int>(ib >> 23);
    std::uint64_t ma = ia & 0x7fffffu, mb = ib & 0x7fffffu;
    if (ea != 0)
        ma |= 0x800000u;
    else
        ea = 1;
    if (eb != 0)
        mb |= 0x800000u;
    else
        eb = 1;
    std::uint64_t r = ma % mb;
    for (int d = ea - eb; d > 0;) {
        const int k = std::min(d, 32);
        r = (r << k) % mb;
        d -= k;
    }
    // r < mb, so r 2^(eb-150) is a float: the product and the narrowing are exact.
    const float mag = static_cast<float>(static_cast<double>(r) * pow2d(eb - 150));
    return copySign(mag, a);
}

float floorMod(float a, float b) {
    float r = exactFmod(a, b);
    if (r != 0.0f && !isNan(r) && signBit(r) != signBit(b)) r += b;
    if (r == 0.0f) r = copySign(0.0f, b);
    return r;
}

float powf32(float a, float b) {
    if (b == 0.0f || a == 1.0f) return 1.0f;
    if (isNan(a) || isNan(b)) return kNan;
    const float ax = absf(a);
    if (absf(b) == kInf) {
        if (ax == 1.0f) return 1.0f;
        return (ax > 1.0f) == (b > 0.0f) ? kInf : 0.0f;
    }
    const bool integral = isIntegral(b);
    const float sign = signBit(a) && isOddIntegral(b) ? -1.0f : 1.0f;
    if (ax == 0.0f) return sign * (b < 0.0f ? kInf : 0.0f);
    if (ax == kInf) return sign * (b < 0.0f ? 0.0f : kInf);
    if (signBit(a) && !integral) return kNan;
    const double y = static_cast<double>(b) * log2d(static_cast<double>(ax));
    if (y > 129.0) return sign * kInf;
    if (y < -152.0) return sign * 0.0f;
    return sign * static_cast<float>(exp2d(y));
}

void scalarBinary(Op op, float* d, const float* a, const float* b, int n) {
    switch (op) {
        case Op::Mod:
            for (int i = 0; i < n; ++i) d[i] = floorMod(a[i], b[i]);
            return;
        case Op::Fmod:
            for (int i = 0; i < n; ++i) d[i] = exactFmod(a[i], b[i]);
            return;
        case Op::Pow:
            for (int i = 0; i < n; ++i) d[i] = powf32(a[i], b[i]);
            return;
        default:
            return;
    }
}

void mapBlock(const FormulaMapInfo& map, float* d, const float* v, const float* fallback, int n) {
    const auto& entries = map.Entries;
    for (int i = 0; i < n; ++i) {
        const float x = v[i];
        float out = fallback[i];
        // Only exact integers within the key range are keys: no rounding.
        if (absf(x) <= 16777216.0f && isIntegral(x)) {
            const auto k = static_cast<std::int32_t>(x);
            const auto it = std::upper_bound(
                entries.begin(), entries.end(), k,
                [](std::int32_t key, const FormulaMapEntry& e) { return key < e.Lo; });
            if (it != entries.begin() && k <= std::prev(it)->Hi) out = std::prev(it)->Value;
        }
        d[i] = out;
    }
}

void piecewiseBlock(const FormulaCoupledArithmeticFunctionInfo& f, float* d, const float* v,
                    int n) {
    const auto& xs = f.Xs;
    const auto& ys = f.Ys;
    const std::size_t last = xs.size() - 1;
    for (int i = 0; i < n; ++i) {
        const float x = v[i];
        if (isNan(x)) {
            d[i] = x;
        } else if (x <= xs[0]) {
            d[i] = ys[0];
        } else if (x >= xs[last]) {
            d[i] = ys[last];
        } else {
            const std::size_t s =
                static_cast<std::size_t>(std::upper_bound(xs.begin(), xs.end(), x) - xs.begin()) -
                1;
            d[i] = ys[s] + (x - xs[s]) * ((ys[s + 1] - ys[s]) / (xs[s + 1] - xs[s]));
        }
    }
}

int elementSize(eElement e) {
    switch (e) {
        case eElement::S8:
        case eElement::U8:
        case eElement::Binary:
            return 1;
        case eElement::S16:
        case eElement::U16:
            return 2;
        default:
            return 4;
    }
}

}  // namespace vimra::formula::detail
