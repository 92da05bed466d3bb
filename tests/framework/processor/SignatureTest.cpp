// Kernel tables registered through signatures: which keys exist, in which order,
// and which table entry each key reaches, for every shape the operations use.

#include <vimra/processor/FunctionSelector.h>

#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

using namespace vimra;
using processor::AlgorithmFunction;
using processor::KernelSignature;

namespace {

template <int I>
processor::ProcessingResult<bool> kernelNo(const processor::KernelArgs&) {
    return {true, I % 2 == 0};
}
template <std::size_t... I>
constexpr std::array<AlgorithmFunction, sizeof...(I)> numbered(std::index_sequence<I...>) {
    return {&kernelNo<static_cast<int>(I)>...};
}
constexpr auto s_kernels = numbered(std::make_index_sequence<343>{});

int indexOf(AlgorithmFunction f) {
    for (std::size_t i = 0; i < s_kernels.size(); ++i)
        if (s_kernels[i] == f) return static_cast<int>(i);
    return -1;
}

int elementOf(int bufferType) { return image::elementIndex(static_cast<image::eImageBufferType::domain>(bufferType)); }

processor::DataTypeIdentifierColl key(std::initializer_list<int> types) {
    processor::DataTypeIdentifierColl k;
    for (int t : types) k.append(static_cast<image::eImageBufferType::domain>(t));
    return k;
}

KernelSignature signature(std::vector<std::uint8_t> domains, std::vector<int> slots) {
    KernelSignature s{};
    s.params = static_cast<int>(domains.size());
    for (std::size_t p = 0; p < domains.size(); ++p) s.domains[p] = domains[p];
    s.slots = static_cast<int>(slots.size());
    for (std::size_t k = 0; k < slots.size(); ++k) {
        s.slotParam[k] = static_cast<std::int8_t>(slots[k]);
        s.slotFixed[k] = image::eImageBufferType::eFloat;
    }
    return s;
}

constexpr std::uint8_t kAll = KernelSignature::s_allElements;
constexpr std::uint8_t kFloat = 1u << 6;
constexpr std::uint8_t kUnsigned16And32 = (1u << 3) | (1u << 5);
constexpr int kFixed = KernelSignature::s_fixed;

struct Shape {
    const char* name;
    KernelSignature signature;
    std::size_t tableSize, keys;
};

TEST(KernelSignatures, RegisterEveryKeyOfTheirShape) {
    const Shape shapes[] = {
        {"two inputs and an output", signature({kAll, kAll, kAll}, {0, 1, 2}), 343, 1331},
        {"inputs sharing a type", signature({kAll, kAll}, {0, 0, 1}), 49, 121},
        {"four inputs, two outputs, three parameters", signature({kAll, kAll, kAll}, {0, 0, 1, 1, 2, 2}), 343, 1331},
        {"output type only", signature({kAll}, {kFixed, 0}), 7, 11},
        {"no type parameter", signature({}, {kFixed, kFixed, kFixed, kFixed}), 1, 1},
        {"float only", signature({kFloat, kFloat, kFloat}, {0, 1, 2}), 1, 1},
        {"label types", signature({kAll, kUnsigned16And32, kAll}, {0, 1, 2}), 98, 11 * 4 * 11},
    };
    for (const Shape& shape : shapes) {
        SCOPED_TRACE(shape.name);
        ASSERT_TRUE(shape.signature.isValid());
        EXPECT_EQ(shape.signature.tableSize(), shape.tableSize);
        EXPECT_EQ(shape.signature.keyCount(), shape.keys);
        processor::AlgorithmFunctionSelector selector;
        EXPECT_EQ(processor::registerKernelTable(selector, eInstructionSet::eStandard, s_kernels.data(), shape.signature),
                  shape.keys);
        EXPECT_EQ(selector.size(), shape.keys);
    }
}

TEST(KernelSignatures, KeysReachTheEntryOfTheirParameters) {
    processor::AlgorithmFunctionSelector full, shared, labels, typedByOutput;
    processor::registerKernelTable(full, eInstructionSet::eStandard, s_kernels.data(),
                                   signature({kAll, kAll, kAll}, {0, 1, 2}));
    processor::registerKernelTable(shared, eInstructionSet::eStandard, s_kernels.data(),
                                   signature({kAll, kAll}, {0, 0, 1}));
    processor::registerKernelTable(labels, eInstructionSet::eStandard, s_kernels.data(),
                                   signature({kAll, kUnsigned16And32, kAll}, {0, 1, 2}));
    processor::registerKernelTable(typedByOutput, eInstructionSet::eStandard, s_kernels.data(),
                                   signature({kAll}, {kFixed, 0}));
    for (int a = 1; a <= 11; ++a)
        for (int b = 1; b <= 11; ++b)
            for (int c = 1; c <= 11; ++c) {
                const int ea = elementOf(a), eb = elementOf(b), ec = elementOf(c);
                ASSERT_EQ(indexOf(full.select(key({a, b, c}))), (ea * 7 + eb) * 7 + ec);
                ASSERT_EQ(indexOf(shared.select(key({a, a, c}))), ea * 7 + ec);
                if (a != b) {
                    ASSERT_EQ(shared.select(key({a, b, c})), nullptr);
                }
                const bool label = eb == 3 || eb == 5;
                ASSERT_EQ(indexOf(labels.select(key({a, b, c}))), label ? (ea * 2 + (eb == 5)) * 7 + ec : -1);
            }
    for (int c = 1; c <= 11; ++c) EXPECT_EQ(indexOf(typedByOutput.select(key({7, c}))), elementOf(c));
    EXPECT_EQ(typedByOutput.select(key({2, 2})), nullptr);
}

TEST(KernelSignatures, MalformedSignaturesRegisterNothing) {
    processor::AlgorithmFunctionSelector selector;
    EXPECT_EQ(processor::registerKernelTable(selector, eInstructionSet::eStandard, s_kernels.data(),
                                             signature({kAll}, {0, 1})),
              0u)
        << "a slot naming a missing parameter";
    EXPECT_EQ(processor::registerKernelTable(selector, eInstructionSet::eStandard, s_kernels.data(),
                                             signature({0}, {0})),
              0u)
        << "an empty domain";
    EXPECT_EQ(processor::registerKernelTable(selector, eInstructionSet::eStandard, nullptr, signature({kAll}, {0})), 0u);
    EXPECT_EQ(selector.size(), 0u);
}

}  // namespace
