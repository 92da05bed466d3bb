#pragma once

// The evaluator's instruction loops, one table per instruction set. Each entry
// runs one instruction over a block of registers; the code behind the tables is
// the same template at every width (EvalBody.h), so a pixel's value depends on
// nothing but its inputs.

#include <vimra/core/InstructionSet.h>

#include <vimra/formula/FormulaTypes.h>

#include <cstdint>

namespace vimra::formula::detail {

/// Pixels per block: the length of every register.
inline constexpr int kBlock = 256;

/// Element-wise instructions of the register program.
enum class Op : std::uint8_t {
    // unary
    Neg,
    Not,
    Abs,
    Sign,
    Sqrt,
    Cbrt,
    Exp,
    Exp2,
    Log,
    Log2,
    Log10,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
    Sinh,
    Cosh,
    Tanh,
    Floor,
    Ceil,
    Round,
    Trunc,
    Frac,
    IsNan,
    IsInf,
    IsFinite,
    ToBool,
    // binary
    Add,
    Sub,
    Mul,
    Div,
    Lt,
    Le,
    Gt,
    Ge,
    Eq,
    Ne,
    And,
    Or,
    Atan2,
    Hypot,
    Min,
    Max,
    // binary, computed one element at a time (ScalarOps.cpp)
    Mod,
    Pow,
    Fmod,
    // ternary
    Select,
    Clamp,
    Lerp,
    InRange,
};
inline constexpr int kFirstBinary = static_cast<int>(Op::Add);
inline constexpr int kFirstScalarBinary = static_cast<int>(Op::Mod);
inline constexpr int kFirstTernary = static_cast<int>(Op::Select);
constexpr int arityOf(Op op) {
    const int o = static_cast<int>(op);
    return o < kFirstBinary ? 1 : o < kFirstTernary ? 2 : 3;
}

/// How an input stores its pixels. Binary images are bytes, non-zero is true.
enum class eElement : std::uint8_t { S8, U8, S16, U16, S32, U32, F32, Binary };
int elementSize(eElement e);

struct KernelTable {
    void (*unary)(Op op, float* d, const float* a, int n);
    void (*binary)(Op op, float* d, const float* a, const float* b, int n);
    void (*ternary)(Op op, float* d, const float* a, const float* b, const float* c, int n);
    void (*convert)(eElement type, const void* src, float* d, int n);
    /// The numeric result: NaNs leave as the one canonical quiet NaN.
    void (*storeFloat)(float* out, const float* r, int n);
    /// The logical result: 1 where non-zero or NaN.
    void (*storeBool)(std::uint8_t* out, const float* r, int n);
};

/// The table of an instruction set, or null where the set is not built or not
/// available on this processor (vimra::core::isAvailable).
const KernelTable* kernelsFor(eInstructionSet::domain set);

// One table per instruction set, each defined in its own file.
const KernelTable& portableKernels();
const KernelTable& sse2Kernels();
const KernelTable& avx2Kernels();
const KernelTable& avx512Kernels();

/// The instruction of an item of the given kind and code (operators, unary,
/// binary, generic and coupled functions, if).
Op opOf(eFormulaItemKind kind, std::uint8_t code);

// Element-at-a-time instructions, compiled once for every instruction set.
void scalarBinary(Op op, float* d, const float* a, const float* b, int n);
float floorMod(float a, float b);
float exactFmod(float a, float b);
float powf32(float a, float b);
void mapBlock(const FormulaMapInfo& map, float* d, const float* v, const float* fallback, int n);
void piecewiseBlock(const FormulaCoupledArithmeticFunctionInfo& f, float* d, const float* v, int n);

}  // namespace vimra::formula::detail
