#pragma once

// The typed kernels of the formula operations: genericProcessFunction<input,
// label, output, instruction set>, 98 type combinations per set. Each hands its
// strip to the strip driver (compiled once) with the evaluator's element types
// and instruction set and the conversion of numeric results to its output type,
// which is the only code compiled per set here. Included by the level-3 files of
// Formula2dImg and Formula3dImg, each compiled with its set's flags.

#include <vimra/formula/ImageFormulaEvaluator.h>
#include <vimra/processor/FunctionSelector.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vimra::imaproc::arithm::kernel {

/// Converts `n` numeric results to the output's elements.
using FormulaConvertFn = void (*)(const float* in, void* out, std::size_t n);

/// Evaluates the output strip of `job` (a FormulaStripJob) row by row: numeric
/// results through `convert`, logical ones as 0 and 1.
processor::ProcessingResult<bool> runFormulaStrip(void* job, eInstructionSet::domain set,
                                                  formula::eFormulaElementType grey,
                                                  formula::eFormulaElementType label,
                                                  int outputElement, FormulaConvertFn convert);

/// A numeric result as an output element: float as it is; integers rounded half
/// away from zero (exactly, without the float rounding of v + 0.5) into 32 bits,
/// the processor's out-of-range value 0x80000000 for NaN and for values beyond
/// int32, then the low bits of the output width.
template <class TOut, eInstructionSet::domain S>
inline TOut formulaOutputValue(float v) {
    if constexpr (std::is_same_v<TOut, float>) {
        return v;
    } else {
        float t = __builtin_truncf(v);
        const float rest = v - t;  // exact: t and v share their high bits
        if (rest >= 0.5f) t += 1.0f;
        if (rest <= -0.5f) t -= 1.0f;
        const std::int32_t i =
            t >= -2147483648.0f && t < 2147483648.0f ? static_cast<std::int32_t>(t) : INT32_MIN;
        return static_cast<TOut>(static_cast<std::uint32_t>(i));
    }
}

template <class TOut, eInstructionSet::domain S>
void convertFormulaRow(const float* in, void* out, std::size_t n) {
    TOut* o = static_cast<TOut*>(out);
    for (std::size_t i = 0; i < n; ++i) o[i] = formulaOutputValue<TOut, S>(in[i]);
}

using FormulaElements =
    std::tuple<signed char, unsigned char, short, unsigned short, int, unsigned int, float>;

template <class TIn, class TLab, class TOut, eInstructionSet::domain S>
processor::ProcessingResult<bool> genericProcessFunction(const processor::KernelArgs& args) {
    // Constants, so that no helper is emitted into the instruction set's object.
    constexpr int outputElement = image::elementIndex(image::BufferTypeOf<TOut>::value);
    constexpr formula::eFormulaElementType grey = formula::formulaElementTypeOf<TIn>();
    constexpr formula::eFormulaElementType label = formula::formulaElementTypeOf<TLab>();
    return runFormulaStrip(args.context, S, grey, label, outputElement,
                           &convertFormulaRow<TOut, S>);
}

/// The label parameter's domain: unsigned short and unsigned int (element indices 3 and 5).
inline constexpr std::uint8_t s_formulaLabelDomain = (1u << 3) | (1u << 5);
inline constexpr std::size_t s_formulaKernelCount = 7 * 2 * 7;

/// Input type outermost, then label, then output, as registration walks them.
template <eInstructionSet::domain S, std::size_t... I>
constexpr std::array<processor::AlgorithmFunction, sizeof...(I)> makeFormulaTable(
    std::index_sequence<I...>) {
    return {
        &genericProcessFunction<std::tuple_element_t<I / 14, FormulaElements>,
                                std::conditional_t<(I / 7) % 2 == 0, unsigned short, unsigned int>,
                                std::tuple_element_t<I % 7, FormulaElements>, S>...};
}

template <eInstructionSet::domain S>
inline constexpr std::array<processor::AlgorithmFunction, s_formulaKernelCount> s_formulaKernels =
    makeFormulaTable<S>(std::make_index_sequence<s_formulaKernelCount>{});

/// Keys: input buffer type, label buffer type, output buffer type.
template <eInstructionSet::domain S>
constexpr processor::KernelSignature formulaSignature() {
    processor::KernelSignature s;
    s.params = 3;
    s.domains[0] = processor::KernelSignature::s_allElements;
    s.domains[1] = s_formulaLabelDomain;
    s.domains[2] = processor::KernelSignature::s_allElements;
    s.slots = 3;
    s.slotParam[0] = 0;
    s.slotParam[1] = 1;
    s.slotParam[2] = 2;
    return s;
}

/// Constant data, so that a static initialiser compiled for a wider set only
/// passes its address (no vector stores before the processor is checked).
template <eInstructionSet::domain S>
inline constexpr processor::KernelSignature s_formulaSignature = formulaSignature<S>();

template <class Lvl3>
processor::AlgorithmFunctionSelector& functionSelectorOf();

}  // namespace vimra::imaproc::arithm::kernel

/// Registers the including file's kernels of instruction set `Set` for <Op>Lvl3.
#define VIMRA_FORMULA_ISA_KERNELS(Op, Set)                                                \
    namespace vimra::imaproc::arithm {                                                    \
    class Op##Lvl3;                                                                       \
    namespace {                                                                           \
    const ::vimra::processor::KernelTableRegistration g_##Op##Kernels(                    \
        &kernel::functionSelectorOf<Op##Lvl3>, Set, kernel::s_formulaKernels<Set>.data(), \
        kernel::s_formulaSignature<Set>);                                                 \
    }                                                                                     \
    }

/// The standard level-3 file of a formula operation: the class, its selector
/// under the class's name, then its standard kernels.
#define VIMRA_FORMULA_LEVEL3(Op)                                                                 \
    namespace vimra::imaproc::arithm {                                                           \
    template processor::AlgorithmFunctionSelector& kernel::functionSelectorOf<Op##Lvl3>();       \
    namespace {                                                                                  \
    const ClassRegistration<Op##Lvl3> g_##Op##Lvl3Registration;                                  \
    const ::vimra::processor::KernelTableRegistration g_##Op##StandardKernels(                   \
        (processor::registerFunctionSelector(Op##Lvl3::getTypeName(),                            \
                                             Op##Lvl3::retrieveFunctionSelector()),              \
         &Op##Lvl3::retrieveFunctionSelector),                                                   \
        eInstructionSet::eStandard, kernel::s_formulaKernels<eInstructionSet::eStandard>.data(), \
        kernel::s_formulaSignature<eInstructionSet::eStandard>);                                 \
    }                                                                                            \
    }
