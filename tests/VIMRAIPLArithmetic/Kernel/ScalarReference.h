#pragma once

// Independent scalar model of the arithmetic kernels, written from the rules of
// the operations (computation type, wrap-around, division guard, conversions)
// and of the vector kernels (division through float, the narrowing table of
// each instruction set). Types are runtime indices 0..6 (int8, uint8, int16,
// uint16, int32, uint32, float); integer values are carried as their
// mathematical value in 64 bits, so the model needs no wrapping arithmetic of
// the language and has no undefined behaviour.

#include <vimra/core/InstructionSet.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace vimra::arithm_test::ref {

enum eType { eInt8, eUInt8, eInt16, eUInt16, eInt32, eUInt32, eFloat };

struct TypeInfo {
    const char* name;
    int bytes;
    bool isSigned;
    bool isFloat;
    std::int64_t min, max;
};

inline constexpr TypeInfo s_info[7] = {
    {"int8", 1, true, false, -128, 127},
    {"uint8", 1, false, false, 0, 255},
    {"int16", 2, true, false, -32768, 32767},
    {"uint16", 2, false, false, 0, 65535},
    {"int32", 4, true, false, -2147483648LL, 2147483647LL},
    {"uint32", 4, false, false, 0, 4294967295LL},
    {"float", 4, true, true, 0, 0},
};

inline const TypeInfo& info(int t) {
    return s_info[t];
}

/// A pixel value: `i` for integer types, `f` for float.
struct Value {
    std::int64_t i = 0;
    float f = 0.0f;
};

inline Value intValue(std::int64_t i) {
    return {i, 0.0f};
}
inline Value floatValue(float f) {
    return {0, f};
}

inline std::string toString(int t, const Value& v) {
    if (info(t).isFloat) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.9g (0x%08x)", static_cast<double>(v.f),
                      std::bit_cast<std::uint32_t>(v.f));
        return buf;
    }
    return std::to_string(v.i);
}

// ---- element access --------------------------------------------------------------------------

inline Value read(int t, const void* buffer, std::size_t index) {
    const auto* p = static_cast<const unsigned char*>(buffer) + index * info(t).bytes;
    switch (t) {
        case eInt8: {
            signed char x;
            std::memcpy(&x, p, 1);
            return intValue(x);
        }
        case eUInt8: {
            unsigned char x;
            std::memcpy(&x, p, 1);
            return intValue(x);
        }
        case eInt16: {
            short x;
            std::memcpy(&x, p, 2);
            return intValue(x);
        }
        case eUInt16: {
            unsigned short x;
            std::memcpy(&x, p, 2);
            return intValue(x);
        }
        case eInt32: {
            int x;
            std::memcpy(&x, p, 4);
            return intValue(x);
        }
        case eUInt32: {
            unsigned x;
            std::memcpy(&x, p, 4);
            return intValue(x);
        }
        default: {
            float x;
            std::memcpy(&x, p, 4);
            return floatValue(x);
        }
    }
}

/// Writes a value that lies in the type's range (or any float).
inline void write(int t, void* buffer, std::size_t index, const Value& v) {
    auto* p = static_cast<unsigned char*>(buffer) + index * info(t).bytes;
    if (info(t).isFloat) {
        std::memcpy(p, &v.f, 4);
        return;
    }
    // Two's complement bytes of the value, little end first.
    const auto bits = static_cast<std::uint64_t>(v.i);
    for (int b = 0; b < info(t).bytes; ++b) p[b] = static_cast<unsigned char>(bits >> (8 * b));
}

// ---- integer rules ---------------------------------------------------------------------------

/// The value modulo 2^(8 * bytes), read with the type's signedness.
inline std::int64_t wrap(int t, std::int64_t v) {
    const int bits = 8 * info(t).bytes;
    const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
    const std::uint64_t u = static_cast<std::uint64_t>(v) & mask;
    if (info(t).isSigned && (u >> (bits - 1)) != 0)
        return static_cast<std::int64_t>(u) - (std::int64_t{1} << bits);
    return static_cast<std::int64_t>(u);
}

inline std::int64_t clamp(std::int64_t v, std::int64_t lo, std::int64_t hi) {
    return std::min(std::max(v, lo), hi);
}

inline bool inRange(int t, std::int64_t v) {
    return v >= info(t).min && v <= info(t).max;
}

/// Truncation toward zero to 32 bits as the processor does it: out of range or
/// NaN gives -2147483648.
inline std::int64_t truncate32(float f) {
    const double t = std::trunc(static_cast<double>(f));
    if (!(t >= -2147483648.0 && t <= 2147483647.0)) return -2147483648LL;
    return static_cast<std::int64_t>(t);
}

/// Truncation toward zero to 64 bits; out of range or NaN gives the most negative value.
inline std::int64_t truncate64(float f) {
    const double t = std::trunc(static_cast<double>(f));
    if (!(t >= -9223372036854775808.0 && t < 9223372036854775808.0)) return INT64_MIN;
    return static_cast<std::int64_t>(t);
}

/// Integer value to float, rounded to nearest.
inline float toFloat(std::int64_t v) {
    return static_cast<float>(v);
}

// ---- computation type ------------------------------------------------------------------------

/// Float if any of the three is float; otherwise an integer as wide as the
/// widest, unsigned if any type of that width is unsigned.
inline int computationType(int a, int b, int c) {
    if (info(a).isFloat || info(b).isFloat || info(c).isFloat) return eFloat;
    const int width = std::max({info(a).bytes, info(b).bytes, info(c).bytes});
    bool anyUnsigned = false;
    for (int t : {a, b, c})
        anyUnsigned = anyUnsigned || (info(t).bytes == width && !info(t).isSigned);
    switch (width) {
        case 1:
            return anyUnsigned ? eUInt8 : eInt8;
        case 2:
            return anyUnsigned ? eUInt16 : eInt16;
        default:
            return anyUnsigned ? eUInt32 : eInt32;
    }
}

/// An input value in the computation type.
inline Value toComputation(int tc, int from, const Value& v) {
    if (info(tc).isFloat) return floatValue(info(from).isFloat ? v.f : toFloat(v.i));
    return intValue(wrap(tc, v.i));
}

// ---- the narrowing table of the vector kernels -----------------------------------------------

enum class eIsa { eSse2, eAvx, eAvx2, eAvx512 };

inline eIsa isaOf(eInstructionSet::domain set) {
    switch (set) {
        case eInstructionSet::eSSE2:
            return eIsa::eSse2;
        case eInstructionSet::eAVX:
            return eIsa::eAvx;
        case eInstructionSet::eAVX2:
            return eIsa::eAvx2;
        default:
            return eIsa::eAvx512;
    }
}

/// A 32-bit value (read as signed) to type t.
inline std::int64_t narrowFrom32(int t, std::int64_t s, eIsa isa) {
    switch (t) {
        case eInt16:
            return clamp(s, -32768, 32767);
        case eUInt16:
            return isa == eIsa::eSse2 ? wrap(eUInt16, s) : clamp(s, 0, 65535);
        case eInt8:
            return clamp(clamp(s, -32768, 32767), -128, 127);
        case eUInt8:
            return isa == eIsa::eSse2 ? clamp(wrap(eInt16, s), 0, 255)
                                      : clamp(wrap(eInt16, clamp(s, 0, 65535)), 0, 255);
        default:
            return wrap(t, s);
    }
}

/// A 16-bit value (read as signed) to type t.
inline std::int64_t narrowFrom16(int t, std::int64_t s) {
    switch (t) {
        case eInt8:
            return clamp(s, -128, 127);
        case eUInt8:
            return clamp(s, 0, 255);
        default:
            return wrap(t, s);
    }
}

/// Float to unsigned 32-bit on a two-input vector kernel: AVX-512's unsigned
/// truncation gives 4294967295 for NaN and everything outside [0, 2^32); the
/// other sets give 0 for NaN and negative values and saturate above.
inline std::int64_t floatToUInt32(float f, eIsa isa) {
    const double t = std::trunc(static_cast<double>(f));
    if (isa == eIsa::eAvx512)
        return (std::isnan(t) || t < 0.0 || t > 4294967295.0) ? 4294967295LL
                                                              : static_cast<std::int64_t>(t);
    if (std::isnan(t) || t < 0.0) return 0;
    return t > 4294967295.0 ? 4294967295LL : static_cast<std::int64_t>(t);
}

// ---- two-input operations --------------------------------------------------------------------

enum class eOp { eAdd, eSubtract, eMultiply, eDivide };

/// What a two-input kernel must produce for one pixel.
struct BinaryExpectation {
    Value standard;  ///< the standard kernel's output
    Value vector;    ///< the vector kernels' output on the given set
    bool mustAgree;  ///< in range: vector and standard kernels give the same bits
};

inline float applyFloat(eOp op, float a, float b) {
    switch (op) {
        case eOp::eAdd:
            return a + b;
        case eOp::eSubtract:
            return a - b;
        case eOp::eMultiply:
            return a * b;
        default:
            return b == 0.0f ? 0.0f : a / b;
    }
}

/// Integer operation in the computation type tc (operands already in tc).
inline std::int64_t applyInteger(int tc, eOp op, std::int64_t a, std::int64_t b) {
    switch (op) {
        case eOp::eAdd:
            return wrap(tc, a + b);
        case eOp::eSubtract:
            return wrap(tc, a - b);
        case eOp::eMultiply:
            return wrap(tc, static_cast<std::int64_t>(static_cast<std::uint64_t>(a) *
                                                      static_cast<std::uint64_t>(b)));
        default:
            return b == 0 ? 0 : wrap(tc, a / b);  // |a|, |b| < 2^32: no overflow in 64 bits
    }
}

/// Standard narrowing of a float result.
inline Value standardFromFloat(int out, float r) {
    if (info(out).isFloat) return floatValue(r);
    if (out == eUInt32) return intValue(wrap(out, truncate64(r)));
    return intValue(wrap(out, truncate32(r)));
}

inline BinaryExpectation expectBinary(eOp op, int ta, const Value& a, int tb, const Value& b,
                                      int out, eIsa isa) {
    const int tc = computationType(ta, tb, out);
    const Value ca = toComputation(tc, ta, a);
    const Value cb = toComputation(tc, tb, b);
    BinaryExpectation e;
    if (info(tc).isFloat) {
        const float r = applyFloat(op, ca.f, cb.f);
        e.standard = standardFromFloat(out, r);
        if (info(out).isFloat) {
            e.vector = floatValue(r);
            e.mustAgree = true;
        } else {
            e.vector = intValue(out == eUInt32 ? floatToUInt32(r, isa)
                                               : narrowFrom32(out, truncate32(r), isa));
            const double t = std::trunc(static_cast<double>(r));
            e.mustAgree = !std::isnan(t) && t >= static_cast<double>(info(out).min) &&
                          t <= static_cast<double>(info(out).max);
        }
        return e;
    }
    const std::int64_t r = applyInteger(tc, op, ca.i, cb.i);
    e.standard = intValue(wrap(out, r));
    std::int64_t v = r;  // the vector kernels' result in tc
    if (op == eOp::eDivide) {
        // Through float: both operands rounded to float, divided, truncated;
        // a zero divisor gives 0.
        const float fa = toFloat(ca.i), fb = toFloat(cb.i);
        if (fb == 0.0f) {
            v = 0;
        } else if (tc == eUInt32) {
            v = floatToUInt32(fa / fb, isa);
        } else {
            v = wrap(tc, truncate32(fa / fb));
        }
    }
    const std::int64_t signedBits = wrap(info(tc).bytes == 1   ? eInt8
                                         : info(tc).bytes == 2 ? eInt16
                                                               : eInt32,
                                         v);
    if (info(out).bytes == info(tc).bytes) {
        e.vector = intValue(wrap(out, v));
    } else if (info(tc).bytes == 4) {
        e.vector = intValue(narrowFrom32(out, signedBits, isa));
    } else {
        e.vector = intValue(narrowFrom16(out, signedBits));
    }
    constexpr std::int64_t limit = std::int64_t{1} << 24;
    const bool exactDivision = op != eOp::eDivide || info(tc).bytes < 4 ||
                               (std::abs(ca.i) <= limit && std::abs(cb.i) <= limit);
    e.mustAgree = inRange(out, r) && exactDivision;
    return e;
}

// ---- absolute value --------------------------------------------------------------------------

/// The type of |x| before conversion: signed 8-bit widens to 16 bits.
inline int absValueType(int t) {
    return t == eInt8 ? eInt16 : t;
}

inline Value absValue(int t, const Value& x) {
    if (info(t).isFloat)
        return floatValue(std::bit_cast<float>(std::bit_cast<std::uint32_t>(x.f) & 0x7fffffffu));
    if (!info(t).isSigned) return x;
    // In the (widened) value type, where the most negative value is its own absolute value.
    return intValue(wrap(absValueType(t), x.i < 0 ? -x.i : x.i));
}

/// What a one-input kernel must produce from a value v of type tv.
inline BinaryExpectation expectConversion(int tv, const Value& v, int out, eIsa isa) {
    BinaryExpectation e;
    if (info(tv).isFloat) {
        if (info(out).isFloat) {
            e.standard = e.vector = v;
            e.mustAgree = true;
        } else {
            // Every float to integer conversion truncates to 32 bits first.
            e.standard = intValue(wrap(out, truncate32(v.f)));
            e.vector = intValue(narrowFrom32(out, truncate32(v.f), isa));
            const double t = std::trunc(static_cast<double>(v.f));
            e.mustAgree = !std::isnan(t) && t >= static_cast<double>(info(out).min) &&
                          t <= static_cast<double>(info(out).max);
        }
        return e;
    }
    if (info(out).isFloat) {
        e.standard = e.vector = floatValue(toFloat(v.i));
        e.mustAgree = true;
        return e;
    }
    e.standard = intValue(wrap(out, v.i));
    if (info(out).bytes > info(tv).bytes) {
        e.vector = intValue(wrap(out, v.i));
    } else if (tv == eUInt16 && info(out).isSigned) {
        // An unsigned 16-bit value narrows to a signed type as its 32-bit value.
        e.vector = intValue(narrowFrom32(out, v.i, isa));
    } else if (info(out).bytes == info(tv).bytes) {
        e.vector = intValue(wrap(out, v.i));
    } else if (info(tv).bytes == 4) {
        e.vector = intValue(narrowFrom32(out, wrap(eInt32, v.i), isa));
    } else {
        e.vector = intValue(narrowFrom16(out, wrap(eInt16, v.i)));
    }
    e.mustAgree = inRange(out, v.i);
    return e;
}

inline BinaryExpectation expectAbs(int ta, const Value& a, int out, eIsa isa) {
    return expectConversion(absValueType(ta), absValue(ta, a), out, isa);
}

}  // namespace vimra::arithm_test::ref
