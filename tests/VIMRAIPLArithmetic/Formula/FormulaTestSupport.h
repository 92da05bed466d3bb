#pragma once

// An independent reference for the formula operations: pixels read with
// explicit neighbour offsets through a border rule written here, and the
// conversion of a result to an output element computed in double precision.

#include <vimra/image/BaseImage.h>
#include <vimra/image/Border.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace formula_test {

using vimra::image::BaseImage;
using vimra::image::BorderPolicy;
using vimra::image::eBorderPolicyType;
using vimra::image::eImageBufferType;

/// Index read for `i` on a line of `n`, or -1 for "the constant".
inline std::int64_t borderIndex(const BorderPolicy& b, std::int64_t i, std::int64_t n) {
    if (i >= 0 && i < n) return i;
    switch (b.getType()) {
        case eBorderPolicyType::eNearest:
            return i < 0 ? 0 : n - 1;
        case eBorderPolicyType::ePeriodic:
            while (i < 0) i += n;
            return i % n;
        case eBorderPolicyType::eMirror:  // -1 reads 1, n reads n - 2
            if (n == 1) return 0;
            while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
            return i;
        case eBorderPolicyType::eMirrorEdge:  // -1 reads 0, n reads n - 1
            while (i < 0 || i >= n) i = i < 0 ? -i - 1 : 2 * n - 1 - i;
            return i;
        default:
            return -1;
    }
}

enum class Kind { eGrey, eBinary, eLabel };

/// Pixel (x, y, z) of `img` as the formula sees it, reading outside through `b`.
inline double read(const BaseImage& img, Kind kind, const BorderPolicy& b, std::int64_t x,
                   std::int64_t y, std::int64_t z = 0) {
    const std::int64_t xi = borderIndex(b, x, static_cast<std::int64_t>(img.getSizeX()));
    const std::int64_t yi = borderIndex(b, y, static_cast<std::int64_t>(img.getSizeY()));
    const std::int64_t zi = borderIndex(b, z, static_cast<std::int64_t>(img.getSizeZ()));
    if (xi < 0 || yi < 0 || zi < 0) return kind == Kind::eGrey ? b.getConstant() : 0.0;
    const double v = img.getValue(static_cast<std::uint64_t>(xi), static_cast<std::uint64_t>(yi),
                                  static_cast<std::uint64_t>(zi));
    return kind == Kind::eBinary ? (v != 0.0 ? 1.0 : 0.0) : v;
}

/// A numeric result stored into an element of buffer type `t`, as the raw value
/// the image then holds (read back through getValue).
inline double storedNumeric(float v, eImageBufferType::domain t) {
    if (t == eImageBufferType::eFloat) return v;
    std::int64_t r;
    if (std::isnan(v) || std::fabs(static_cast<double>(v)) >= 2147483648.0) {
        r = INT32_MIN;
    } else {
        const double d = static_cast<double>(v);
        r = static_cast<std::int64_t>(d < 0 ? -std::floor(-d + 0.5) : std::floor(d + 0.5));
        if (r > INT32_MAX || r < INT32_MIN) r = INT32_MIN;
    }
    const auto bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(r));
    switch (vimra::image::elementIndex(t)) {
        case 0:
            return static_cast<std::int8_t>(bits & 0xffu);
        case 1:
            return bits & 0xffu;
        case 2:
            return static_cast<std::int16_t>(bits & 0xffffu);
        case 3:
            return bits & 0xffffu;
        case 4:
            return static_cast<std::int32_t>(bits);
        default:
            return bits;
    }
}

/// Fills an image with random small integers in [lo, hi] (exact in float sums).
inline void fillRandom(BaseImage& img, std::mt19937& rng, int lo, int hi) {
    std::uniform_int_distribution<int> d(lo, hi);
    for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img.getSizeX(); ++x) img.setValue(d(rng), x, y, z);
}

/// Every pixel of `img` equals `expected(x, y, z)`; reports the first difference.
inline ::testing::AssertionResult matches(
    const BaseImage& img,
    const std::function<double(std::int64_t, std::int64_t, std::int64_t)>& expected) {
    for (std::uint64_t z = 0; z < img.getSizeZ(); ++z)
        for (std::uint64_t y = 0; y < img.getSizeY(); ++y)
            for (std::uint64_t x = 0; x < img.getSizeX(); ++x) {
                const double want =
                    expected(static_cast<std::int64_t>(x), static_cast<std::int64_t>(y),
                             static_cast<std::int64_t>(z));
                const double got = img.getValue(x, y, z);
                if (!(got == want || (std::isnan(got) && std::isnan(want))))
                    return ::testing::AssertionFailure() << "at (" << x << ", " << y << ", " << z
                                                         << "): got " << got << ", want " << want;
            }
    return ::testing::AssertionSuccess();
}

/// The bytes of every plane of an image (padding excluded).
inline std::vector<unsigned char> bytesOf(const BaseImage& img) {
    std::vector<unsigned char> out;
    const std::size_t planeBytes = img.getSizeX() * img.getSizeY() * img.getElementSize();
    for (std::uint64_t z = 0; z < img.getSizeZ(); ++z) {
        const auto* p = static_cast<const unsigned char*>(img.planeData(z));
        out.insert(out.end(), p, p + planeBytes);
    }
    return out;
}

}  // namespace formula_test
