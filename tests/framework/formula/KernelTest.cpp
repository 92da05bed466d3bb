// Each instruction of every instruction set's table against the portable one,
// on blocks of edge values and of random bits, lengths that leave tails.

#include "FormulaTestSupport.h"
#include "Kernels.h"

#include <cstring>
#include <random>

using namespace vimra;
using namespace vimra::formula;
using namespace vimra::formula::detail;
using vimra::formula::test::sameBits;

#ifdef VIMRA_TEST_EMULATED_AVX512
namespace vimra::formula::detail {
const KernelTable& avx512EmulatedKernels();
}
#endif

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct Table {
    const char* Name;
    const KernelTable* Kernels;
};

std::vector<Table> vectorTables() {
    std::vector<Table> t;
    for (const auto set :
         {eInstructionSet::eSSE2, eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
        if (const KernelTable* k = kernelsFor(set))
            t.push_back({core::instructionSetName(set), k});
        else
            std::printf("SKIPPED: %s kernels (not available on this processor)\n",
                        core::instructionSetName(set));
    }
#ifdef VIMRA_TEST_EMULATED_AVX512
    t.push_back({"AVX-512 (emulated)", &avx512EmulatedKernels()});
#endif
    return t;
}

std::vector<float> operands(std::mt19937& rng, int n) {
    const float special[] = {0.0f,   -0.0f,      kInf,        -kInf,       kNan,
                             1e-40f, -1e-45f,    3e38f,       0.5f,        -0.5f,
                             1.0f,   -1.0f,      2.5f,        88.7f,       -104.0f,
                             1e-7f,  8388608.5f, 16777216.0f, 0.49999997f, 3.14159274f};
    std::vector<float> v(static_cast<std::size_t>(n));
    for (auto& x : v) {
        const unsigned k = rng() % 4;
        x = k == 0   ? special[rng() % 20]
            : k == 1 ? std::bit_cast<float>(static_cast<std::uint32_t>(rng()))
            : k == 2 ? static_cast<float>(static_cast<int>(rng() % 9) - 4)
                     : std::uniform_real_distribution<float>(-20.0f, 20.0f)(rng);
    }
    return v;
}

TEST(FormulaKernels, EveryInstructionMatchesThePortableOne) {
    const KernelTable& portable = portableKernels();
    std::mt19937 rng(17);
    for (const Table& t : vectorTables())
        for (int round = 0; round < 40; ++round) {
            const int n = 1 + static_cast<int>(rng() % 70);  // tails of every length
            const auto a = operands(rng, n), b = operands(rng, n), c = operands(rng, n);
            std::vector<float> want(static_cast<std::size_t>(n)), got(want.size());
            for (int o = 0; o <= static_cast<int>(Op::InRange); ++o) {
                const Op op = static_cast<Op>(o);
                const int arity = arityOf(op);
                // Boolean operands for the logic instructions.
                std::vector<float> x = a, y = b;
                if (op == Op::Not || op == Op::And || op == Op::Or)
                    for (std::size_t i = 0; i < x.size(); ++i) {
                        x[i] = rng() % 2 ? 1.0f : 0.0f;
                        y[i] = rng() % 2 ? 1.0f : 0.0f;
                    }
                auto run = [&](const KernelTable& k, std::vector<float>& out) {
                    if (arity == 1)
                        k.unary(op, out.data(), x.data(), n);
                    else if (arity == 2)
                        k.binary(op, out.data(), x.data(), y.data(), n);
                    else
                        k.ternary(op, out.data(), x.data(), y.data(), c.data(), n);
                };
                run(portable, want);
                run(*t.Kernels, got);
                for (int i = 0; i < n; ++i)
                    ASSERT_TRUE(sameBits(got[static_cast<std::size_t>(i)],
                                         want[static_cast<std::size_t>(i)]))
                        << t.Name << " op " << o << " lane " << i << " of " << n << ": "
                        << x[static_cast<std::size_t>(i)] << ", " << y[static_cast<std::size_t>(i)]
                        << " gives " << got[static_cast<std::size_t>(i)] << ", portable "
                        << want[static_cast<std::size_t>(i)];
            }
            // Conversions of every element type and the two stores.
            std::vector<std::uint8_t> raw(static_cast<std::size_t>(n) * 4);
            for (auto& byte : raw) byte = static_cast<std::uint8_t>(rng());
            for (int e = 0; e <= static_cast<int>(eElement::Binary); ++e) {
                portable.convert(static_cast<eElement>(e), raw.data(), want.data(), n);
                t.Kernels->convert(static_cast<eElement>(e), raw.data(), got.data(), n);
                ASSERT_EQ(0, std::memcmp(got.data(), want.data(), want.size() * sizeof(float)))
                    << t.Name << " element type " << e;
            }
            portable.storeFloat(want.data(), a.data(), n);
            t.Kernels->storeFloat(got.data(), a.data(), n);
            ASSERT_EQ(0, std::memcmp(got.data(), want.data(), want.size() * sizeof(float)))
                << t.Name;
            std::vector<std::uint8_t> wantBytes(static_cast<std::size_t>(n)),
                gotBytes(wantBytes.size());
            portable.storeBool(wantBytes.data(), a.data(), n);
            t.Kernels->storeBool(gotBytes.data(), a.data(), n);
            ASSERT_EQ(wantBytes, gotBytes) << t.Name;
        }
}

}  // namespace
