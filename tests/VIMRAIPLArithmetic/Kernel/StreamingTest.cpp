// Streaming stores change how a kernel stores, never what. Every kernel of every
// operation, type combination and instruction set runs over strips that start at
// every kind of distance from the vector alignment and end anywhere, once with
// plain and once with streaming stores: the bytes must be identical, the
// streaming run must write nothing outside its strip, and the same holds in place.

#include "KernelTestSupport.h"
#include "TestData.h"

#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace vimra::arithm_test {
namespace {

using namespace ref;

constexpr int kAbsOp = eAbs;
constexpr const char* s_opNames[] = {"Add", "Subtract", "Multiply", "Divide", "Abs"};

/// Strip start (elements past a 64-byte boundary) and length: aligned and
/// misaligned starts, strips shorter than the distance to alignment, shorter than
/// a step, and long ones ending mid-step.
struct StripCase {
    std::size_t offset;
    std::size_t count;
};
constexpr StripCase s_cases[] = {{0, 0},  {5, 0},    {0, 1},   {0, 64},  {0, 200}, {1, 1},
                                 {1, 15}, {3, 64},   {5, 257}, {7, 3},   {17, 130}, {31, 33},
                                 {33, 97}, {63, 1000}, {48, 512}, {62, 2}};

constexpr unsigned char s_guard = 0x5a;

/// A buffer with room for `offset` elements before a strip of `count` elements,
/// its padding (64 elements) and a guard zone, starting on a 64-byte boundary.
class OffsetStrip {
  public:
    OffsetStrip(int type, std::size_t offset, std::size_t count)
        : m_type(type),
          m_offset(offset),
          m_count(count),
          m_bytes((offset + count + 2 * s_padding) * info(type).bytes + 64, s_guard) {}
    void* strip() { return base() + m_offset * info(m_type).bytes; }
    const void* strip() const { return const_cast<OffsetStrip*>(this)->strip(); }
    Value get(std::size_t i) const { return read(m_type, strip(), i); }
    void set(std::size_t i, const Value& v) { write(m_type, strip(), i, v); }
    /// Every byte of the buffer, the strip's own and the rest.
    std::vector<unsigned char> bytes() const {
        const unsigned char* b = const_cast<OffsetStrip*>(this)->base();
        return {b, b + (m_offset + m_count + 2 * s_padding) * info(m_type).bytes};
    }
    /// The byte range of the strip within bytes().
    std::size_t stripBegin() const { return m_offset * info(m_type).bytes; }
    std::size_t stripEnd() const { return (m_offset + m_count) * info(m_type).bytes; }

  private:
    unsigned char* base() {
        const auto address = reinterpret_cast<std::uintptr_t>(m_bytes.data());
        return m_bytes.data() + (64 - address % 64) % 64;
    }
    int m_type;
    std::size_t m_offset;
    std::size_t m_count;
    std::vector<unsigned char> m_bytes;
};

processor::ProcessingResult<bool> run(AlgorithmFunction f, bool streaming, std::size_t count, const void* a,
                                      const void* b, void* out) {
    processor::KernelArgs args;
    args.info.count = count;
    args.in[0] = a;
    args.in[1] = b;
    args.out[0] = out;
    args.streaming = streaming;
    return f(args);
}

struct Inputs {
    OffsetStrip a, b;
};

Inputs randomInputs(int op, int ta, int tb, const StripCase& c, std::uint64_t seed) {
    Inputs in{OffsetStrip(ta, c.offset, c.count), OffsetStrip(tb, c.offset, c.count)};
    Generator gen(seed);
    for (std::size_t i = 0; i < c.count + s_padding; ++i) {
        in.a.set(i, gen.value(ta, false, false));
        in.b.set(i, op == eDivide ? gen.divisor(tb, false, false) : gen.value(tb, false, false));
    }
    return in;
}

/// Empty when the streaming output equals the plain one on the strip and left
/// every byte outside it as it was; otherwise the first difference.
std::string compare(const OffsetStrip& plain, const OffsetStrip& streamed, const std::vector<unsigned char>& before) {
    const std::vector<unsigned char> p = plain.bytes(), s = streamed.bytes();
    for (std::size_t i = 0; i < s.size(); ++i) {
        const bool inside = i >= streamed.stripBegin() && i < streamed.stripEnd();
        if (inside && s[i] != p[i])
            return "byte " + std::to_string(i - streamed.stripBegin()) + " of the strip differs";
        if (!inside && s[i] != before[i])
            return "byte " + std::to_string(i) + " of the buffer, outside the strip, was written";
    }
    return {};
}

using Param = std::tuple<int, KernelSource>;

class StreamingStores : public ::testing::TestWithParam<Param> {
  protected:
    /// Every kernel of the source for the operation, called as f(types, kernel).
    template <class F>
    int forEachKernel(F f) {
        const int op = std::get<0>(GetParam());
        const KernelSource& k = std::get<1>(GetParam());
        const int combinations = op == kAbsOp ? s_pairs : s_triples;
        int run = 0;
        for (int combo = 0; combo < combinations; ++combo) {
            const int ta = op == kAbsOp ? combo / 7 : combo / 49;
            const int tb = op == kAbsOp ? ta : (combo / 7) % 7;
            const int tc = combo % 7;
            const AlgorithmFunction kernel = findKernel(k, op, ta, tb, tc);
            if (kernel == nullptr) {
                // Only AVX lacks kernels, and only for non-float types.
                EXPECT_EQ(k.set, eInstructionSet::eAVX) << "no kernel for combination " << combo;
                continue;
            }
            ++run;
            if (!f(combo, ta, tb, tc, kernel)) break;
        }
        return run;
    }
    std::string where(int ta, int tb, int tc, const StripCase& c) const {
        std::ostringstream s;
        s << std::get<1>(GetParam()).name << " " << s_opNames[std::get<0>(GetParam())] << " " << info(ta).name
          << ", " << info(tb).name << " -> " << info(tc).name << ", strip of " << c.count << " at offset "
          << c.offset;
        return s.str();
    }
};

TEST_P(StreamingStores, GiveThePlainStoresBytesAndStayInTheStrip) {
    const int op = std::get<0>(GetParam());
    VIMRA_SKIP_UNLESS_RUNNABLE(std::get<1>(GetParam()));
    int failures = 0;
    const int kernels = forEachKernel([&](int combo, int ta, int tb, int tc, AlgorithmFunction kernel) {
        for (const StripCase& c : s_cases) {
            const Inputs in = randomInputs(op, ta, tb, c, static_cast<std::uint64_t>(combo) * 131 + c.offset);
            OffsetStrip plain(tc, c.offset, c.count), streamed(tc, c.offset, c.count);
            const std::vector<unsigned char> before = streamed.bytes();
            EXPECT_TRUE(run(kernel, false, c.count, in.a.strip(), in.b.strip(), plain.strip()));
            EXPECT_TRUE(run(kernel, true, c.count, in.a.strip(), in.b.strip(), streamed.strip()));
            const std::string fault = compare(plain, streamed, before);
            if (!fault.empty()) {
                ADD_FAILURE() << where(ta, tb, tc, c) << ": " << fault;
                if (++failures >= 8) return false;
            }
        }
        return true;
    });
    EXPECT_GT(kernels, 0);
}

/// The output over the first input (same type): each step must read its input
/// before it writes, through the buffers of the partial steps as well.
TEST_P(StreamingStores, InPlaceGivesThePlainStoresBytes) {
    const int op = std::get<0>(GetParam());
    VIMRA_SKIP_UNLESS_RUNNABLE(std::get<1>(GetParam()));
    int failures = 0;
    int inPlace = 0;
    forEachKernel([&](int combo, int ta, int tb, int tc, AlgorithmFunction kernel) {
        if (ta != tc) return true;
        ++inPlace;
        for (const StripCase& c : s_cases) {
            Inputs plain = randomInputs(op, ta, tb, c, static_cast<std::uint64_t>(combo) * 977 + c.offset);
            Inputs streamed = randomInputs(op, ta, tb, c, static_cast<std::uint64_t>(combo) * 977 + c.offset);
            const std::vector<unsigned char> before = streamed.a.bytes();
            EXPECT_TRUE(run(kernel, false, c.count, plain.a.strip(), plain.b.strip(), plain.a.strip()));
            EXPECT_TRUE(run(kernel, true, c.count, streamed.a.strip(), streamed.b.strip(), streamed.a.strip()));
            const std::string fault = compare(plain.a, streamed.a, before);
            if (!fault.empty()) {
                ADD_FAILURE() << where(ta, tb, tc, c) << ", in place: " << fault;
                if (++failures >= 8) return false;
            }
        }
        return true;
    });
    EXPECT_GT(inPlace, 0);
}

std::string paramName(const ::testing::TestParamInfo<Param>& p) {
    return std::string(s_opNames[std::get<0>(p.param)]) + "_" + sourceName(std::get<1>(p.param));
}

/// The standard kernels take part too: they ignore the flag, and must keep doing
/// so bit for bit.
std::vector<KernelSource> sourcesWithStandard() {
    std::vector<KernelSource> s = kernelSources();
    s.insert(s.begin(), KernelSource{"standard", eInstructionSet::eStandard, nullptr});
    return s;
}

INSTANTIATE_TEST_SUITE_P(Isa, StreamingStores,
                         ::testing::Combine(::testing::Range(0, kAbsOp + 1), ::testing::ValuesIn(sourcesWithStandard())),
                         paramName);

}  // namespace
}  // namespace vimra::arithm_test
