#include <vimra/processor/Promotion.h>

#include <algorithm>
#include <cstdint>

namespace vimra::processor {

namespace {

using image::eImageBufferType;
using T = eImageBufferType::domain;

struct TypeRange {
    std::int64_t lo, hi;
};

constexpr TypeRange rangeOf(T t) {
    switch (image::elementBufferType(t)) {
        case eImageBufferType::eInt8: return {-128, 127};
        case eImageBufferType::eUInt8: return {0, 255};
        case eImageBufferType::eInt16: return {-32768, 32767};
        case eImageBufferType::eUInt16: return {0, 65535};
        case eImageBufferType::eInt32: return {INT32_MIN, INT32_MAX};
        case eImageBufferType::eUInt32: return {0, UINT32_MAX};
        default: return {0, 0};
    }
}

constexpr bool isFloat(T t) { return image::elementBufferType(t) == eImageBufferType::eFloat; }
int widthOf(T t) { return static_cast<int>(image::getImageBufferBaseSize(t)); }
constexpr bool isSigned(T t) { return rangeOf(t).lo < 0; }

/// The smallest integer type holding [lo, hi], preferring unsigned for
/// non-negative ranges; float when no integer type does.
constexpr T smallestHolding(std::int64_t lo, std::int64_t hi) {
    constexpr T candidates[] = {eImageBufferType::eUInt8,  eImageBufferType::eInt8,  eImageBufferType::eUInt16,
                                eImageBufferType::eInt16,  eImageBufferType::eUInt32, eImageBufferType::eInt32};
    for (T c : candidates) {
        const TypeRange r = rangeOf(c);
        if (lo >= r.lo && hi <= r.hi) return c;
    }
    return eImageBufferType::eFloat;
}

/// Integer of the given width in bytes (1, 2, 4) and signedness; 8 bytes gives float.
constexpr T integerOf(int width, bool isSignedType) {
    switch (width) {
        case 1: return isSignedType ? eImageBufferType::eInt8 : eImageBufferType::eUInt8;
        case 2: return isSignedType ? eImageBufferType::eInt16 : eImageBufferType::eUInt16;
        case 4: return isSignedType ? eImageBufferType::eInt32 : eImageBufferType::eUInt32;
        default: return eImageBufferType::eFloat;
    }
}

}  // namespace

image::eImageBufferType::domain promoteUnary(ePromoteUnaryType::domain rule, T in) {
    const T plain = image::elementBufferType(in);
    if (isFloat(plain)) return eImageBufferType::eFloat;
    switch (rule) {
        case ePromoteUnaryType::eAbs: return integerOf(widthOf(plain), false);
        case ePromoteUnaryType::eSquare: return integerOf(2 * widthOf(plain), false);
        case ePromoteUnaryType::eIdentity:
        case ePromoteUnaryType::eAffine:
        case ePromoteUnaryType::eScalar: return plain;
    }
    return plain;
}

image::eImageBufferType::domain promoteBinary(ePromoteBinaryType::domain rule, T in1, T in2) {
    const T a = image::elementBufferType(in1), b = image::elementBufferType(in2);
    if (rule == ePromoteBinaryType::eDivision || isFloat(a) || isFloat(b)) return eImageBufferType::eFloat;
    const TypeRange ra = rangeOf(a), rb = rangeOf(b);
    switch (rule) {
        case ePromoteBinaryType::eMin: return smallestHolding(std::min(ra.lo, rb.lo), std::min(ra.hi, rb.hi));
        case ePromoteBinaryType::eMax: return smallestHolding(std::max(ra.lo, rb.lo), std::max(ra.hi, rb.hi));
        case ePromoteBinaryType::eMaxAbs: {
            const std::int64_t m = std::max({-ra.lo, ra.hi, -rb.lo, rb.hi});
            return smallestHolding(0, m);
        }
        case ePromoteBinaryType::eAddition:
            return integerOf(2 * std::max(widthOf(a), widthOf(b)), isSigned(a) || isSigned(b));
        case ePromoteBinaryType::eSubtraction: return integerOf(2 * std::max(widthOf(a), widthOf(b)), true);
        case ePromoteBinaryType::eDivision: break;
    }
    return eImageBufferType::eFloat;
}

const char* promoteUnaryName(ePromoteUnaryType::domain rule) {
    static constexpr const char* names[] = {"absolute value", "identity", "affine", "square", "scalar"};
    return rule >= 0 && rule < ePromoteUnaryType::s_count ? names[rule] : "unknown";
}

const char* promoteBinaryName(ePromoteBinaryType::domain rule) {
    static constexpr const char* names[] = {"minimum",  "maximum",     "maximum of absolute values",
                                            "addition", "subtraction", "division"};
    return rule >= 0 && rule < ePromoteBinaryType::s_count ? names[rule] : "unknown";
}

}  // namespace vimra::processor
