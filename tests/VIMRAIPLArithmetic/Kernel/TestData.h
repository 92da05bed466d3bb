#pragma once

// Random pixel values with extreme values, for the kernel tests.

#include "ScalarReference.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <random>

namespace vimra::arithm_test {

inline const std::int64_t s_intSpecials[] = {-2147483648LL,
                                             -2147483647LL,
                                             -16777217,
                                             -16777216,
                                             -70000,
                                             -65536,
                                             -40000,
                                             -32769,
                                             -32768,
                                             -32767,
                                             -256,
                                             -129,
                                             -128,
                                             -127,
                                             -2,
                                             -1,
                                             0,
                                             1,
                                             2,
                                             127,
                                             128,
                                             255,
                                             256,
                                             32767,
                                             32768,
                                             40000,
                                             65535,
                                             65536,
                                             70000,
                                             16777216,
                                             16777217,
                                             2147483647LL,
                                             2147483648LL,
                                             3000000000LL,
                                             4294967295LL};

inline const float s_floatSpecials[] = {0.0f,
                                        -0.0f,
                                        1.0f,
                                        -1.0f,
                                        0.5f,
                                        -0.5f,
                                        2.9f,
                                        -2.9f,
                                        127.5f,
                                        255.5f,
                                        256.0f,
                                        32767.9f,
                                        -32768.9f,
                                        40000.0f,
                                        65535.5f,
                                        65536.0f,
                                        70000.0f,
                                        -70000.0f,
                                        16777216.0f,
                                        16777217.0f,
                                        2147483520.0f,
                                        2147483648.0f,
                                        -2147483648.0f,
                                        -2147483904.0f,
                                        3e9f,
                                        4294967040.0f,
                                        4294967296.0f,
                                        5e9f,
                                        -5e9f,
                                        1e20f,
                                        FLT_MAX,
                                        -FLT_MAX,
                                        1e-45f,
                                        std::numeric_limits<float>::infinity(),
                                        -std::numeric_limits<float>::infinity(),
                                        std::numeric_limits<float>::quiet_NaN(),
                                        -std::numeric_limits<float>::quiet_NaN()};

/// Random values of a type: a quarter extreme values, the rest small values
/// (results mostly in range) or anything in the type's range. `limited` keeps
/// integers within [-2^24, 2^24] and, where the computation type is unsigned,
/// non-negative, so that 32-bit division stays exact in float.
class Generator {
  public:
    explicit Generator(std::uint64_t seed) : m_rng(seed) {}

    ref::Value value(int t, bool limited, bool tcUnsigned) {
        const ref::TypeInfo& ti = ref::info(t);
        const int p = percent();
        if (ti.isFloat) {
            if (p < 25)
                return ref::floatValue(s_floatSpecials[m_rng() % std::size(s_floatSpecials)]);
            if (p < 65)
                return ref::floatValue(
                    std::uniform_real_distribution<float>(-300.0f, 300.0f)(m_rng));
            const float magnitude =
                std::pow(10.0f, std::uniform_real_distribution<float>(0.0f, 10.0f)(m_rng));
            return ref::floatValue((m_rng() & 1) ? magnitude : -magnitude);
        }
        std::int64_t lo = ti.min, hi = ti.max;
        if (limited) {
            lo = tcUnsigned ? 0 : std::max<std::int64_t>(lo, -(1 << 24));
            hi = std::min<std::int64_t>(hi, 1 << 24);
        } else if (p < 25) {
            for (;;) {
                const std::int64_t v = s_intSpecials[m_rng() % std::size(s_intSpecials)];
                if (ref::inRange(t, v)) return ref::intValue(v);
            }
        }
        if (p < 65) {
            lo = std::max<std::int64_t>(lo, -300);
            hi = std::min<std::int64_t>(hi, 300);
        }
        return ref::intValue(std::uniform_int_distribution<std::int64_t>(lo, hi)(m_rng));
    }

    /// A divisor: zero one time in ten (float: +0 or -0).
    ref::Value divisor(int t, bool limited, bool tcUnsigned) {
        if (percent() < 10)
            return ref::info(t).isFloat ? ref::floatValue((m_rng() & 1) ? 0.0f : -0.0f)
                                        : ref::intValue(0);
        return value(t, limited, tcUnsigned);
    }

    bool coin() { return (m_rng() & 1) != 0; }

  private:
    int percent() { return static_cast<int>(m_rng() % 100); }
    std::mt19937_64 m_rng;
};

}  // namespace vimra::arithm_test
