#pragma once

// The compiled form of a formula: the tokens of the item list, the limits of the
// language, the options of a compilation and its diagnostics.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vimra::formula {

/// Result type of a formula, as the formula manager reports it.
struct eImageFormulaResultType {
    enum domain : std::uint8_t {
        eLogical = 0,  ///< the root is bool (binary output by default)
        eNumeric = 1,  ///< the root is num (float output by default)
    };
};

/// Image identifiers: the positions of the nine optional inputs.
inline constexpr unsigned kImageCount = 9;
inline constexpr unsigned kFirstGreyId = 0;    ///< I1..I3
inline constexpr unsigned kFirstBinaryId = 3;  ///< B1..B3
inline constexpr unsigned kFirstLabelId = 6;   ///< L1..L3

/// What kind of input an identifier names.
enum class eFormulaImageKind : std::uint8_t { eGrey, eBinary, eLabel };
constexpr eFormulaImageKind imageKindOf(unsigned id) {
    return id < kFirstBinaryId  ? eFormulaImageKind::eGrey
           : id < kFirstLabelId ? eFormulaImageKind::eBinary
                                : eFormulaImageKind::eLabel;
}

/// Operators of the language (unary and binary; `?:` is lowered to the ternary `if`).
struct eImageFormulaOperatorType {
    enum domain : std::uint8_t {
        eAdd,
        eSubtract,
        eMultiply,
        eDivide,
        eModulo,
        ePower,
        eLess,
        eLessEqual,
        eGreater,
        eGreaterEqual,
        eEqual,
        eNotEqual,
        eAnd,
        eOr,
        eNegate,
        eNot,
    };
};

struct eImageFormulaUnaryArithmeticFunctionType {
    enum domain : std::uint8_t {
        eAbs,
        eSign,
        eSqrt,
        eCbrt,
        eExp,
        eExp2,
        eLog,
        eLog2,
        eLog10,
        eSin,
        eCos,
        eTan,
        eAsin,
        eAcos,
        eAtan,
        eSinh,
        eCosh,
        eTanh,
        eFloor,
        eCeil,
        eRound,
        eTrunc,
        eFrac,
        eIsNan,
        eIsInf,
        eIsFinite,
        eBool,
    };
};

struct eImageFormulaBinaryArithmeticFunctionType {
    enum domain : std::uint8_t { ePow, eAtan2, eHypot, eFmod, eMin, eMax };
};

struct eImageFormulaTernaryLogicFunctionType {
    enum domain : std::uint8_t { eIf };
};

/// A coordinate of the current pixel.
struct FormulaDynamicConstantInfo {
    enum domain : std::uint8_t { eX, eY, eZ };
    domain Axis = eX;
    bool operator==(const FormulaDynamicConstantInfo&) const = default;
};

/// A size of the output image, constant for a run.
struct FormulaImageConstantInfo {
    enum domain : std::uint8_t { eWidth, eHeight, eDepth };
    domain What = eWidth;
    bool operator==(const FormulaImageConstantInfo&) const = default;
};

/// A read of image `ImageId` at a fixed offset from the current pixel.
struct FormulaImageWithOffsetInfo {
    std::uint8_t ImageId = 0;
    std::int8_t Dx = 0, Dy = 0, Dz = 0;
    bool operator==(const FormulaImageWithOffsetInfo&) const = default;
};

/// Variadic functions, folded left to right over their arguments.
struct FormulaGenericArithmeticFunctionInfo {
    enum domain : std::uint8_t { eMin, eMax, eSum, eMean, eAny, eAll, eCount };
    domain Function = eMin;
};

/// Functions whose arguments play different roles.
struct FormulaCoupledArithmeticFunctionInfo {
    enum domain : std::uint8_t { eClamp, eLerp, eInRange, ePiecewise };
    domain Function = eClamp;
    /// piecewise: the breakpoints (increasing) and their values.
    std::vector<float> Xs, Ys;
};

/// An inclusive key range of a map and its value.
struct FormulaMapEntry {
    std::int32_t Lo = 0, Hi = 0;
    float Value = 0.0f;
};

/// map(v, {...}, default): entries sorted by key, disjoint.
struct FormulaMapInfo {
    std::vector<FormulaMapEntry> Entries;
};

/// Kind of a token of the item list.
enum class eFormulaItemKind : std::uint8_t {
    eBoolConstant,
    eFloatConstant,
    eDynamicConstant,
    eImageConstant,
    eImageWithOffset,
    eOperator,
    eUnaryFunction,
    eBinaryFunction,
    eGenericFunction,
    eCoupledFunction,
    eMap,
    eTernaryLogicFunction,
};

/// One token of the compiled program: computes register `Result` from the
/// registers in `Args` (none for constants, coordinates and reads). Booleans are
/// held as 0.0 / 1.0.
struct FormulaItem {
    eFormulaItemKind Kind = eFormulaItemKind::eFloatConstant;
    std::uint16_t Result = 0;
    std::vector<std::uint16_t> Args;
    float Value = 0.0f;  ///< float and bool constants
    /// The kind's payload: only the member of `Kind` is meaningful.
    std::uint8_t Code = 0;   ///< operator, unary, binary, ternary, dynamic or image constant code
    std::uint16_t Read = 0;  ///< eImageWithOffset: index into ImageFormulaManager::getReads()
    FormulaGenericArithmeticFunctionInfo Generic;
    FormulaCoupledArithmeticFunctionInfo Coupled;
    FormulaMapInfo Map;
};
using FormulaItemColl = std::vector<FormulaItem>;

/// Largest offset per axis and side: how far the formula reads outside the
/// current pixel. `Before` is towards negative indices.
struct FormulaHalo {
    std::array<int, 3> Before{0, 0, 0};
    std::array<int, 3> After{0, 0, 0};
    bool isZero() const { return Before == std::array<int, 3>{} && After == std::array<int, 3>{}; }
    bool operator==(const FormulaHalo&) const = default;
};

/// The language's limits. An application may lower them; values above the
/// defaults are taken as the defaults, so that the compiler's own stack and time
/// stay bounded whatever it is given.
struct FormulaLimits {
    std::uint32_t MaxLength = 4096;
    std::uint32_t MaxTokens = 1024;
    std::uint32_t MaxNesting = 64;
    std::uint32_t MaxNodes = 2048;
    std::uint32_t MaxReads = 256;
    std::uint32_t MaxOffset = 16;
    std::uint32_t MaxArguments = 64;
    std::uint32_t MaxMapEntries = 4096;
    std::uint32_t MaxTemporaries = 64;
};

enum class eFormulaDimension : std::uint8_t { e2d = 2, e3d = 3 };

/// What the result must be: anything, or a given result type.
enum class eFormulaResultKind : std::uint8_t { eAny, eLogical, eNumeric };

/// The context of a compilation: no pixels are needed.
struct FormulaCompileOptions {
    eFormulaDimension Dimension = eFormulaDimension::e2d;
    /// Bit i set: image i is bound. Reading an unbound image is E_UNBOUND_INPUT.
    std::uint16_t BoundImages = 0x1ff;
    /// Bit i set: image i is also the output; reading it at a non-zero offset is
    /// E_ALIAS_WITH_OFFSETS.
    std::uint16_t OutputAliases = 0;
    eFormulaResultKind RequiredResult = eFormulaResultKind::eAny;
    FormulaLimits Limits;
};

enum class eFormulaDiagnosticCode : std::uint8_t {
    E_CHAR,
    E_NUMBER,
    E_NUM_RANGE,
    E_SYNTAX,
    E_UNBALANCED,
    E_TRAILING,
    E_EMPTY,
    E_MISSING_OPERATOR,
    E_UNKNOWN_NAME,
    E_UNKNOWN_FUNCTION,
    E_UNBOUND_INPUT,
    E_ARITY,
    E_TYPE,
    E_CHAINED_COMPARISON,
    E_OFFSET_NOT_LITERAL,
    E_OFFSET_NOT_INTEGER,
    E_OFFSET_RANGE,
    E_DIMENSION,
    E_MAP_KEY,
    E_RESULT_KIND,
    E_ALIAS_WITH_OFFSETS,
    E_LIMIT_LENGTH,
    E_LIMIT_TOKENS,
    E_LIMIT_NESTING,
    E_LIMIT_NODES,
    E_LIMIT_READS,
    E_LIMIT_ARGUMENTS,
    E_LIMIT_MAP_ENTRIES,
    E_LIMIT_TEMPORARIES,
};

/// "E_CHAR", "E_LIMIT_NESTING", ...
const char* diagnosticCodeName(eFormulaDiagnosticCode code);

/// One finding about a formula. Offset and Length are bytes of the formula text;
/// Line and Column count from 1.
struct FormulaDiagnostic {
    eFormulaDiagnosticCode Code = eFormulaDiagnosticCode::E_SYNTAX;
    std::string Message;
    std::uint32_t Offset = 0;
    std::uint32_t Length = 0;
    std::uint32_t Line = 1;
    std::uint32_t Column = 1;
    std::string Hint;  ///< may be empty
    /// The line of the formula holding the span, and a line with carets under it.
    std::string SourceLine;
    std::string CaretLine;
};

/// The text form of a diagnostic:
///   E_UNKNOWN_NAME (line 1, column 1): unknown name 'i1'
///     i1 + 2
///     ^^
///     hint: did you mean 'I1'?
std::string formatDiagnostic(const FormulaDiagnostic& diagnostic);
std::string formatDiagnostics(const std::vector<FormulaDiagnostic>& diagnostics);

}  // namespace vimra::formula
