// The library's kernels as its level-3 classes select them.

#include "KernelsUnderTest.h"

#include <Kernel/VectorRegistration.h>

namespace vimra::imaproc::arithm {
class AddImgImgLvl3;
class SubtractImgImgLvl3;
class MultiplyImgImgLvl3;
class DivideImgImgLvl3;
class AbsImgLvl3;
}  // namespace vimra::imaproc::arithm

namespace vimra::arithm_test {
namespace {

using imaproc::arithm::kernel::functionSelectorOf;

processor::AlgorithmFunctionSelector& selectorOf(int op) {
    using namespace imaproc::arithm;
    switch (op) {
        case eAdd:
            return functionSelectorOf<AddImgImgLvl3>();
        case eSubtract:
            return functionSelectorOf<SubtractImgImgLvl3>();
        case eMultiply:
            return functionSelectorOf<MultiplyImgImgLvl3>();
        case eDivide:
            return functionSelectorOf<DivideImgImgLvl3>();
        default:
            return functionSelectorOf<AbsImgLvl3>();
    }
}

}  // namespace

std::vector<KernelSource> kernelSources() {
    std::vector<KernelSource> sources = {
        {"SSE2", eInstructionSet::eSSE2, &g_sse2Probes, nullptr},
        {"AVX", eInstructionSet::eAVX, nullptr, nullptr},
        {"AVX2", eInstructionSet::eAVX2, &g_avx2Probes, nullptr},
        {"AVX-512", eInstructionSet::eAVX512, &g_avx512Probes, nullptr},
    };
#ifdef VIMRA_TEST_EMULATED_AVX512
    sources.push_back({"AVX-512", eInstructionSet::eAVX512, &g_avx512EmulatedKernels.probes,
                       &g_avx512EmulatedKernels});
#endif
    return sources;
}

bool runnable(const KernelSource& source) {
    return source.emulated() || core::isSupportedByProcessor(source.set);
}

AlgorithmFunction selectRegistered(int op, eInstructionSet::domain set, int a, int b, int out) {
    processor::DataTypeIdentifierColl types;
    types.append(static_cast<image::eImageBufferType::domain>(a));
    if (op != eAbs) types.append(static_cast<image::eImageBufferType::domain>(b));
    types.append(static_cast<image::eImageBufferType::domain>(out));
    processor::InstructionSetsIdentifier forced;
    forced.init(set);
    return selectorOf(op).select(types, forced);
}

AlgorithmFunction findKernel(const KernelSource& source, int op, int a, int b, int out) {
    if (source.tables)
        return op == eAbs ? source.tables->abs[a * 7 + out]
                          : source.tables->binary[op][(a * 7 + b) * 7 + out];
    return selectRegistered(op, source.set, a + 1, b + 1, out + 1);
}

AlgorithmFunction findStandardKernel(int op, int a, int b, int out) {
    return selectRegistered(op, eInstructionSet::eStandard, a + 1, b + 1, out + 1);
}

}  // namespace vimra::arithm_test
