// The library's kernels as its level-3 classes select them, found through the
// selectors the classes register under their type names.

#include "KernelsUnderTest.h"

#include <map>
#include <stdexcept>
#include <string>

namespace vimra::arithm_test {

const char* operationName(int op) {
    static constexpr const char* s_names[] = {"AddImgImg", "SubtractImgImg", "MultiplyImgImg", "DivideImgImg",
                                              "AbsImg"};
    return s_names[op];
}

namespace {

processor::AlgorithmFunctionSelector& selectorOf(int op) {
    const std::string name = std::string("vimra::imaproc::arithm::") + operationName(op) + "Lvl3";
    processor::AlgorithmFunctionSelector* selector = processor::findFunctionSelector(name);
    if (!selector) throw std::runtime_error("no function selector is registered for " + name);
    return *selector;
}

AlgorithmFunction selectFrom(const processor::AlgorithmFunctionSelector& selector, int op,
                             eInstructionSet::domain set, int a, int b, int out) {
    processor::DataTypeIdentifierColl types;
    types.append(static_cast<image::eImageBufferType::domain>(a));
    if (op != eAbs) types.append(static_cast<image::eImageBufferType::domain>(b));
    types.append(static_cast<image::eImageBufferType::domain>(out));
    processor::InstructionSetsIdentifier forced;
    forced.init(set);
    return selector.select(types, forced);
}

}  // namespace

processor::AlgorithmFunctionSelector& emulatedSelector(const char* operation) {
    static std::map<std::string, processor::AlgorithmFunctionSelector> selectors;
    return selectors[operation];
}

std::vector<KernelSource> kernelSources() {
    std::vector<KernelSource> sources = {
        {"SSE2", eInstructionSet::eSSE2, &g_sse2Probes},
        {"AVX", eInstructionSet::eAVX, nullptr},
        {"AVX2", eInstructionSet::eAVX2, &g_avx2Probes},
        {"AVX-512", eInstructionSet::eAVX512, &g_avx512Probes},
    };
#ifdef VIMRA_TEST_EMULATED_AVX512
    sources.push_back({"AVX-512", eInstructionSet::eAVX512, &g_avx512EmulatedProbes, true});
#endif
    return sources;
}

bool runnable(const KernelSource& source) {
    return source.emulated() || core::isSupportedByProcessor(source.set);
}

AlgorithmFunction selectRegistered(int op, eInstructionSet::domain set, int a, int b, int out) {
    return selectFrom(selectorOf(op), op, set, a, b, out);
}

AlgorithmFunction findKernel(const KernelSource& source, int op, int a, int b, int out) {
    if (source.emulated())
        return selectFrom(emulatedSelector(operationName(op)), op, eInstructionSet::eStandard, a + 1, b + 1, out + 1);
    return selectRegistered(op, source.set, a + 1, b + 1, out + 1);
}

AlgorithmFunction findStandardKernel(int op, int a, int b, int out) {
    return selectRegistered(op, eInstructionSet::eStandard, a + 1, b + 1, out + 1);
}

}  // namespace vimra::arithm_test
