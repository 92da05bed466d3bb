#pragma once

// Running kernels on padded buffers for the kernel tests.

#include "KernelsUnderTest.h"
#include "ScalarReference.h"

#include <vimra/core/InstructionSet.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

namespace vimra::arithm_test {

#define VIMRA_SKIP_UNLESS_RUNNABLE(source)                                                 \
    if (!::vimra::arithm_test::runnable(source))                                           \
    GTEST_SKIP() << (source).name << " is not offered by this processor: its kernels are " \
                 << "built but cannot run here"

/// A test name for a kernel source ("AVX_512", "AVX_512_emulated").
inline std::string sourceName(const KernelSource& s) {
    std::string n = s.name;
    for (char& ch : n)
        if (ch == '-') ch = '_';
    return n + (s.emulated() ? "_emulated" : "");
}

/// How a test parameter prints.
inline void PrintTo(const KernelSource& s, std::ostream* os) {
    *os << sourceName(s);
}

/// Collects the first few mismatches of a test with their context.
class Mismatches {
  public:
    bool full() const { return m_count >= 8; }
    void add(const std::string& what) {
        if (m_count++ < 8) ADD_FAILURE() << what;
    }

  private:
    int m_count = 0;
};

inline constexpr std::size_t s_padding = 64;  // elements the image storage guarantees past a strip
inline constexpr unsigned char s_guardByte = 0xa5;

inline std::size_t paddedCount(std::size_t count) {
    return (count + s_padding - 1) / s_padding * s_padding;
}

/// A strip buffer: `count` elements rounded up to the padding, then a guard zone
/// of another 64 elements that no kernel may touch.
class StripBuffer {
  public:
    StripBuffer(int type, std::size_t count)
        : m_type(type),
          m_count(count),
          m_bytes((paddedCount(count) + s_padding) * ref::info(type).bytes, s_guardByte) {}
    void* data() { return m_bytes.data(); }
    const void* data() const { return m_bytes.data(); }
    ref::Value get(std::size_t i) const { return ref::read(m_type, m_bytes.data(), i); }
    void set(std::size_t i, const ref::Value& v) { ref::write(m_type, m_bytes.data(), i, v); }
    /// Whether the guard zone past the padded count is still intact.
    bool guardIntact() const {
        for (std::size_t i = paddedCount(m_count) * ref::info(m_type).bytes; i < m_bytes.size();
             ++i)
            if (m_bytes[i] != s_guardByte) return false;
        return true;
    }

  private:
    int m_type;
    std::size_t m_count;
    std::vector<unsigned char> m_bytes;
};

inline processor::ProcessingResult<bool> runBinary(AlgorithmFunction f, const StripBuffer& a,
                                                   const StripBuffer& b, StripBuffer& out,
                                                   std::size_t count) {
    processor::KernelArgs args;
    args.info.count = count;
    args.in[0] = a.data();
    args.in[1] = b.data();
    args.out[0] = out.data();
    return f(args);
}

inline processor::ProcessingResult<bool> runUnary(AlgorithmFunction f, const StripBuffer& a,
                                                  StripBuffer& out, std::size_t count) {
    processor::KernelArgs args;
    args.info.count = count;
    args.in[0] = a.data();
    args.out[0] = out.data();
    return f(args);
}

/// Same output: identical bits, except that any NaN matches any NaN unless `exactNaN`.
inline bool sameOutput(int type, const ref::Value& got, const ref::Value& expected,
                       bool exactNaN = false) {
    if (!ref::info(type).isFloat) return got.i == expected.i;
    if (!exactNaN && std::isnan(got.f) && std::isnan(expected.f)) return true;
    return std::memcmp(&got.f, &expected.f, sizeof(float)) == 0;
}

}  // namespace vimra::arithm_test
