#pragma once

// What the kernel tests run. The kernels themselves are the library's, found
// through its level-3 classes' registrations one instruction set at a time; the
// layers' conversions are exposed by small files compiled with each set's flags
// (the test code itself is built for the baseline processor). The AVX-512 kernels
// are also compiled against portable intrinsics where SIMDe is installed, so that
// processors without AVX-512 run their bodies too.

#include <vimra/core/InstructionSet.h>
#include <vimra/processor/FunctionSelector.h>

#include <array>
#include <string>
#include <cstdint>
#include <vector>

namespace vimra::arithm_test {

using processor::AlgorithmFunction;

/// One conversion of a layer applied to `count` elements (a multiple of the step).
using ConversionProbe = void (*)(const void* in, void* out, std::uint64_t count);

enum eOperation { eAdd, eSubtract, eMultiply, eDivide, eAbs, eOperationCount };

inline constexpr int s_types = 7;  // int8, uint8, int16, uint16, int32, uint32, float
inline constexpr int s_pairs = s_types * s_types;
inline constexpr int s_triples = s_pairs * s_types;

/// A layer's conversions, indexed [from * 7 + to]; null where there is none.
struct LayerProbes {
    /// A two-input kernel's narrowing from computation type `from`.
    std::array<ConversionProbe, s_pairs> narrow;
    /// A one-input kernel's conversion of a value of type `from`.
    std::array<ConversionProbe, s_pairs> convert;
};

extern const LayerProbes g_sse2Probes;
extern const LayerProbes g_avx2Probes;
extern const LayerProbes g_avx512Probes;

/// The class name stem of an operation ("AddImgImg").
const char* operationName(int op);

#ifdef VIMRA_TEST_EMULATED_AVX512
extern const LayerProbes g_avx512EmulatedProbes;
#endif

/// The selector that the emulated AVX-512 kernels of an operation register into
/// (Emulated/<Op>.cpp), under the standard set.
processor::AlgorithmFunctionSelector& emulatedSelector(const char* operation);

/// Where a test takes one instruction set's kernels from.
struct KernelSource {
    const char* name;
    eInstructionSet::domain set;
    const LayerProbes* probes;  ///< null for AVX (float kernels only)
    bool isEmulated = false;    ///< the test's emulated build, not the library's registrations
    bool emulated() const { return isEmulated; }
};

/// SSE2, AVX, AVX2, AVX-512 and, where built, the emulated AVX-512 kernels.
std::vector<KernelSource> kernelSources();

/// Whether this processor can run a source's kernels.
bool runnable(const KernelSource& source);

/// The kernel of an operation for element types (a, b, out) (b is ignored for
/// abs); null where the source has none (AVX: non-float types).
AlgorithmFunction findKernel(const KernelSource& source, int op, int a, int b, int out);

/// The standard kernel of the library, for the same arguments.
AlgorithmFunction findStandardKernel(int op, int a, int b, int out);

/// The library's selection for buffer types (1..11 each), forced to one set.
AlgorithmFunction selectRegistered(int op, eInstructionSet::domain set, int a, int b, int out);

}  // namespace vimra::arithm_test
