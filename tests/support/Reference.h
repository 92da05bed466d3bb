#pragma once

// Independent scalar reference of the library's pixel arithmetic, written from
// the documented rules with 64-bit integers and explicit float conversions. It
// shares no code with the kernels.

#include <vimra/image/BaseImage.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace vimra::test {

struct TypeInfo {
    int bits;
    bool isSigned;
    bool isFloat;
};

inline TypeInfo typeInfo(image::eImageBufferType::domain t) {
    switch (image::elementBufferType(t)) {
        case image::eImageBufferType::eInt8: return {8, true, false};
        case image::eImageBufferType::eUInt8: return {8, false, false};
        case image::eImageBufferType::eInt16: return {16, true, false};
        case image::eImageBufferType::eUInt16: return {16, false, false};
        case image::eImageBufferType::eInt32: return {32, true, false};
        case image::eImageBufferType::eUInt32: return {32, false, false};
        default: return {32, true, true};
    }
}

/// v modulo 2^bits, read as signed or unsigned.
inline std::int64_t wrapTo(std::int64_t v, int bits, bool isSigned) {
    const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
    const std::uint64_t u = static_cast<std::uint64_t>(v) & mask;
    if (isSigned && (u >> (bits - 1)) != 0) return static_cast<std::int64_t>(u | ~mask);
    return static_cast<std::int64_t>(u);
}

/// Float result stored into an integer or float output: truncation toward zero to
/// 64 bits for unsigned 32-bit outputs, to 32 bits otherwise (out of range or NaN:
/// the most negative value), then the low bits.
inline double storeFloat(float r, TypeInfo out) {
    if (out.isFloat) return r;
    std::int64_t t;
    if (!out.isSigned && out.bits == 32) {
        t = (r >= -9223372036854775808.0f && r < 9223372036854775808.0f) ? static_cast<std::int64_t>(r) : INT64_MIN;
    } else {
        t = (r >= -2147483648.0f && r < 2147483648.0f) ? static_cast<std::int64_t>(r) : std::int64_t{INT32_MIN};
    }
    return static_cast<double>(wrapTo(t, out.bits, out.isSigned));
}

/// Integer value stored into an output: low bits, or the nearest float.
inline double storeInteger(std::int64_t v, TypeInfo out) {
    if (out.isFloat) return static_cast<double>(static_cast<float>(v));
    return static_cast<double>(wrapTo(v, out.bits, out.isSigned));
}

enum class Op { eAdd, eSubtract, eMultiply, eDivide };

/// The standard kernel's result for one pixel of a two-input operation.
inline double referenceBinary(Op op, TypeInfo ta, double a, TypeInfo tb, double b, TypeInfo tc) {
    if (ta.isFloat || tb.isFloat || tc.isFloat) {
        const float fa = static_cast<float>(a), fb = static_cast<float>(b);
        float r = 0.0f;
        switch (op) {
            case Op::eAdd: r = fa + fb; break;
            case Op::eSubtract: r = fa - fb; break;
            case Op::eMultiply: r = fa * fb; break;
            case Op::eDivide: r = fb == 0.0f ? 0.0f : fa / fb; break;
        }
        return storeFloat(r, tc);
    }
    const int w = std::max({ta.bits, tb.bits, tc.bits});
    const bool anyUnsigned = (ta.bits == w && !ta.isSigned) || (tb.bits == w && !tb.isSigned) ||
                             (tc.bits == w && !tc.isSigned);
    const std::int64_t ia = wrapTo(static_cast<std::int64_t>(a), w, !anyUnsigned);
    const std::int64_t ib = wrapTo(static_cast<std::int64_t>(b), w, !anyUnsigned);
    std::int64_t r = 0;
    switch (op) {
        case Op::eAdd: r = ia + ib; break;
        case Op::eSubtract: r = ia - ib; break;
        case Op::eMultiply:
            r = static_cast<std::int64_t>(static_cast<std::uint64_t>(ia) * static_cast<std::uint64_t>(ib));
            break;
        case Op::eDivide: r = ib == 0 ? 0 : ia / ib; break;
    }
    return storeInteger(wrapTo(r, w, !anyUnsigned), tc);
}

/// The standard kernel's absolute value of one pixel.
inline double referenceAbs(TypeInfo ta, double a, TypeInfo tc) {
    if (ta.isFloat) {
        const float m = std::fabs(static_cast<float>(a));
        if (tc.isFloat) return m;
        // Integer outputs of a one-input operation truncate to 32 bits first.
        const std::int64_t t =
            (m >= -2147483648.0f && m < 2147483648.0f) ? static_cast<std::int64_t>(m) : std::int64_t{INT32_MIN};
        return static_cast<double>(wrapTo(t, tc.bits, tc.isSigned));
    }
    std::int64_t v = static_cast<std::int64_t>(a);
    if (ta.isSigned) {
        v = v < 0 ? -v : v;
        if (ta.bits > 8) v = wrapTo(v, ta.bits, true);  // the most negative value stays itself
    }
    return storeInteger(v, tc);
}

/// Random pixel values of a buffer type, about a quarter of them extreme.
inline std::vector<double> randomValues(image::eImageBufferType::domain t, std::size_t n, std::mt19937& rng) {
    std::vector<double> v(n);
    const TypeInfo info = typeInfo(t);
    if (info.isFloat) {
        const double extremes[] = {0.0,   -0.0,  0.5,    -0.5,  2.9,       -2.9,     16777217.0, 3e9,
                                   -3e9,  1e20,  -1e20,  65535.5, 40000.0, -40000.0, INFINITY,   -INFINITY,
                                   NAN,   255.0, 256.0, 2147483648.0, -2147483649.0, 4294967296.0};
        std::uniform_real_distribution<double> uniform(-70000.0, 70000.0);
        std::uniform_int_distribution<std::size_t> pick(0, std::size(extremes) - 1);
        for (double& x : v) x = (rng() % 4 == 0) ? extremes[pick(rng)] : static_cast<float>(uniform(rng));
        return v;
    }
    const std::int64_t lo = info.isSigned ? -(std::int64_t{1} << (info.bits - 1)) : 0;
    const std::int64_t hi = info.isSigned ? (std::int64_t{1} << (info.bits - 1)) - 1
                                          : (std::int64_t{1} << info.bits) - 1;
    std::uniform_int_distribution<std::int64_t> uniform(lo, hi);
    const std::int64_t extremes[] = {lo, hi, 0, 1, info.isSigned ? -1 : 2, lo + 1, hi - 1};
    for (double& x : v) x = static_cast<double>((rng() % 4 == 0) ? extremes[rng() % std::size(extremes)] : uniform(rng));
    return v;
}

/// Fills every pixel of an image (all planes) with the given values in order.
inline void fillImage(image::BaseImage& img, const std::vector<double>& values) {
    std::size_t k = 0;
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
                for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
                    for (std::uint64_t x = 0; x < img.getSizeX(); ++x) img.setValue(values[k++], x, y, z, c, t);
}

/// Every pixel value of an image, in the order fillImage uses.
inline std::vector<double> imageValues(const image::BaseImage& img) {
    std::vector<double> v;
    for (std::uint64_t t = 0; t < img.getSizeT(); ++t)
        for (std::uint64_t c = 0; c < img.getSizeC(); ++c)
            for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
                for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
                    for (std::uint64_t x = 0; x < img.getSizeX(); ++x) v.push_back(img.getValue(x, y, z, c, t));
    return v;
}

/// Equal, or both NaN.
inline bool sameValue(double expected, double actual) {
    return expected == actual || (std::isnan(expected) && std::isnan(actual));
}

inline constexpr image::eImageBufferType::domain s_plainTypes[] = {
    image::eImageBufferType::eInt8,  image::eImageBufferType::eUInt8,  image::eImageBufferType::eInt16,
    image::eImageBufferType::eUInt16, image::eImageBufferType::eInt32, image::eImageBufferType::eUInt32,
    image::eImageBufferType::eFloat};

}  // namespace vimra::test
