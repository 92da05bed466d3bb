// The formula language: precedence, types, functions on edge values, maps,
// offsets and coordinates, and every diagnostic with its span. Expected values
// are worked out by hand from the language's rules.

#include "FormulaTestSupport.h"

#include <vimra/formula/FormulaAttribute.h>

#include <cmath>
#include <limits>

using namespace vimra;
using namespace vimra::formula;
using namespace vimra::formula::test;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct ValueCase {
    const char* Formula;
    float Expected;
};

TEST(FormulaLanguage, OperatorsAndFunctionsGiveTheirDocumentedValues) {
    const ValueCase cases[] = {
        // precedence and associativity
        {"-2^2", -4.0f},
        {"2^3^2", 512.0f},
        {"2^-1", 0.5f},
        {"(-2)^2", 4.0f},
        {"1 + 2 * 3", 7.0f},
        {"(1 + 2) * 3", 9.0f},
        {"7 - 3 - 2", 2.0f},
        {"8 / 4 / 2", 1.0f},
        {"2 * 3 % 4", 2.0f},
        {"-3 * -2", 6.0f},
        {"--3", 3.0f},
        {"+-+2", -2.0f},
        {"2 ^ 0.5 ^ 2", 1.18920712f},
        {"1 < 2 == true", 1.0f},
        {"false ? 1 : true ? 2 : 3", 2.0f},
        {"true || false && false", 1.0f},
        {"!false && false", 0.0f},
        {"!(1 > 2)", 1.0f},
        {"1 + 2 > 2", 1.0f},
        {"(3 == 3) != false", 1.0f},
        {"# a comment\n 1 + # another\n 2", 3.0f},
        // numbers
        {".5 + 5.", 5.5f},
        {"2.5E+1", 25.0f},
        {"1e-50", 0.0f},
        {"3.4028235e38", 3.4028235e38f},
        {"0.1", 0.1f},
        {"pi", 3.14159265f},
        {"e", 2.71828183f},
        {"true + true", 2.0f},
        // IEEE without traps
        {"1/0", kInf},
        {"-1/0", -kInf},
        {"sqrt(-1)", kNan},
        {"log(0)", -kInf},
        {"log(-1)", kNan},
        {"nan == nan", 0.0f},
        {"nan != nan", 1.0f},
        {"nan < 1", 0.0f},
        {"nan >= nan", 0.0f},
        {"0/0", kNan},
        // remainders
        {"-7 % 3", 2.0f},
        {"7 % -3", -2.0f},
        {"7.5 % 2", 1.5f},
        {"fmod(-7, 3)", -1.0f},
        {"fmod(7, -3)", 1.0f},
        {"fmod(5.5, 0)", kNan},
        {"fmod(inf, 2)", kNan},
        {"fmod(3, inf)", 3.0f},
        {"1e30 % 7", 1.0f},
        {"fmod(1e30, 7)", 1.0f},
        {"fmod(1e-40, 3e-41)", 9.99826454e-42f},
        // rounding
        {"round(0.49999997)", 0.0f},
        {"round(0.5)", 1.0f},
        {"round(-0.5)", -1.0f},
        {"round(2.5)", 3.0f},
        {"round(-2.5)", -3.0f},
        {"round(8388609)", 8388609.0f},
        {"floor(-1.5)", -2.0f},
        {"ceil(-1.5)", -1.0f},
        {"trunc(-1.7)", -1.0f},
        {"frac(-1.25)", 0.75f},
        {"frac(2.75)", 0.75f},
        {"floor(inf)", kInf},
        {"round(nan)", kNan},
        {"sign(-3)", -1.0f},
        {"sign(0.25)", 1.0f},
        {"sign(nan)", kNan},
        {"abs(-2)", 2.0f},
        // min, max, clamp: NaN whatever the order
        {"min(nan, 1)", kNan},
        {"min(1, nan)", kNan},
        {"max(nan, 1)", kNan},
        {"max(1, nan)", kNan},
        {"min(3, 1, 2)", 1.0f},
        {"max(3, 1, 2)", 3.0f},
        {"min(2, 3, nan)", kNan},
        {"max(nan, 2, 3)", kNan},
        {"clamp(nan, 0, 1)", kNan},
        {"clamp(5, nan, 1)", kNan},
        {"clamp(0.5, 0, nan)", kNan},
        {"clamp(5, 0, 1)", 1.0f},
        {"clamp(-5, 0, 1)", 0.0f},
        {"clamp(0.25, 0, 1)", 0.25f},
        // coupled and generic
        {"inrange(5, 1, 5)", 1.0f},
        {"inrange(1, 1, 5)", 1.0f},
        {"inrange(5.5, 1, 5)", 0.0f},
        {"inrange(nan, 0, 1)", 0.0f},
        {"lerp(2, 4, 0.25)", 2.5f},
        {"sum(1, 2, 3)", 6.0f},
        {"sum(4)", 4.0f},
        {"mean(1, 2, 3, 4)", 2.5f},
        {"mean(3)", 3.0f},
        {"count(true, false, true)", 2.0f},
        {"any(false, false)", 0.0f},
        {"any(false, true)", 1.0f},
        {"all(true, true)", 1.0f},
        {"all(true, false)", 0.0f},
        {"if(1 > 2, 10, 20)", 20.0f},
        {"bool(0.5)", 1.0f},
        {"bool(0)", 0.0f},
        {"bool(nan)", 1.0f},
        {"isnan(nan)", 1.0f},
        {"isinf(-inf)", 1.0f},
        {"isfinite(inf)", 0.0f},
        {"isfinite(1e38)", 1.0f},
        // piecewise: linear between the points, clamped outside
        {"piecewise(0.5, 0,0, 1,10)", 5.0f},
        {"piecewise(-1, 0,0, 1,10)", 0.0f},
        {"piecewise(2, 0,0, 1,10)", 10.0f},
        {"piecewise(1.5, 0,0, 1,10, 2,0)", 5.0f},
        {"piecewise(1, 0,0, 1,10, 2,0)", 10.0f},
        {"piecewise(nan, 0,0, 1,10)", kNan},
        {"piecewise(-3, -2,4)", 4.0f},
        // maps: exact integer keys only, ranges inclusive, default 0
        {"map(1, {0: 10, 1..9: 20}, 5)", 20.0f},
        {"map(9, {0: 10, 1..9: 20}, 5)", 20.0f},
        {"map(0, {0: 10, 1..9: 20}, 5)", 10.0f},
        {"map(10, {0: 10, 1..9: 20}, 5)", 5.0f},
        {"map(1.5, {0: 10, 1..9: 20}, 5)", 5.0f},
        {"map(nan, {0: 10, 1..9: 20}, 5)", 5.0f},
        {"map(-3, {-5..-1: 7})", 7.0f},
        {"map(2, {1: 3})", 0.0f},
        {"map(-0.0, {0: -2.5})", -2.5f},
        {"map(16777216, {16777216: 1})", 1.0f},
        {"map(3, {3: pi})", 3.14159265f},
        {"map(inf, {1: 1}, 9)", 9.0f},
        // binary functions
        {"pow(2, 10)", 1024.0f},
        {"pow(-2, 3)", -8.0f},
        {"pow(-2, 0.5)", kNan},
        {"pow(0, -1)", kInf},
        {"pow(-0.0, -1)", -kInf},
        {"pow(nan, 0)", 1.0f},
        {"pow(1, nan)", 1.0f},
        {"pow(-1, inf)", 1.0f},
        {"pow(0.5, inf)", 0.0f},
        {"pow(2, -inf)", 0.0f},
        {"pow(-inf, 3)", -kInf},
        {"pow(-inf, -2)", 0.0f},
        {"pow(2, 200)", kInf},
        {"pow(2, -149)", 1.40129846e-45f},
        {"pow(4, 0.5)", 2.0f},
        {"3^2", 9.0f},
        {"hypot(3, 4)", 5.0f},
        {"hypot(inf, nan)", kInf},
        {"hypot(nan, 1)", kNan},
        {"hypot(0, 0)", 0.0f},
        {"hypot(3e38, 3e38)", 3e38f * 1.41421356f},
        {"atan2(0, -1)", 3.14159265f},
        {"atan2(1, 0)", 1.57079633f},
        {"atan2(-1, -inf)", -3.14159265f},
        {"atan2(inf, inf)", 0.785398163f},
        // exact values of transcendental functions
        {"exp(0)", 1.0f},
        {"exp2(10)", 1024.0f},
        {"exp2(-149)", 1.40129846e-45f},
        {"exp2(128)", kInf},
        {"exp(-200)", 0.0f},
        {"exp(inf)", kInf},
        {"exp(-inf)", 0.0f},
        {"log(1)", 0.0f},
        {"log2(1024)", 10.0f},
        {"log2(1e-45)", -149.0f},
        {"log10(1000)", 3.0f},
        {"log(inf)", kInf},
        {"sqrt(inf)", kInf},
        {"cbrt(-27)", -3.0f},
        {"cbrt(inf)", kInf},
        {"cbrt(0)", 0.0f},
        {"sin(0)", 0.0f},
        {"cos(0)", 1.0f},
        {"sin(inf)", kNan},
        {"tan(0)", 0.0f},
        {"asin(1)", 1.57079633f},
        {"acos(-1)", 3.14159265f},
        {"acos(1)", 0.0f},
        {"asin(2)", kNan},
        {"atan(inf)", 1.57079633f},
        {"sinh(0)", 0.0f},
        {"cosh(0)", 1.0f},
        {"tanh(inf)", 1.0f},
        {"tanh(-20)", -1.0f},
        {"sinh(-inf)", -kInf},
        {"cosh(100)", kInf},
    };
    for (const auto& c : cases) {
        const float v = value(c.Formula);
        EXPECT_TRUE(sameBits(v, c.Expected))
            << c.Formula << " gives " << v << ", expected " << c.Expected;
    }
}

TEST(FormulaLanguage, SignedZerosAreOrderedWhateverTheArgumentOrder) {
    const struct {
        const char* Formula;
        std::uint32_t Bits;
    } cases[] = {
        {"min(-0.0, 0)", 0x80000000u}, {"min(0, -0.0)", 0x80000000u}, {"max(-0.0, 0)", 0u},
        {"max(0, -0.0)", 0u},          {"-0.0 * 1", 0x80000000u},     {"round(-0.25)", 0x80000000u},
        {"trunc(-0.5)", 0x80000000u},  {"ceil(-0.5)", 0x80000000u},   {"-7 % 7", 0u},
        {"7 % -7", 0x80000000u},       {"fmod(-7, 7)", 0x80000000u},  {"sign(-0.0)", 0x80000000u},
    };
    for (const auto& c : cases) EXPECT_EQ(bits(value(c.Formula)), c.Bits) << c.Formula;
}

TEST(FormulaLanguage, FoldedAndRunTimeValuesAreTheSameBits) {
    // Each function once folded (constant argument) and once evaluated per pixel.
    const char* unary[] = {"abs",   "sign",  "sqrt",  "cbrt",  "exp",      "exp2", "log",
                           "log2",  "log10", "sin",   "cos",   "tan",      "asin", "acos",
                           "atan",  "sinh",  "cosh",  "tanh",  "floor",    "ceil", "round",
                           "trunc", "frac",  "isnan", "isinf", "isfinite", "bool"};
    const float values[] = {0.0f,       -0.0f,    0.5f,  -0.49999997f, 1.0f,   -1.5f,
                            2.5f,       3.0e-39f, 1e-7f, 7.25f,        -88.5f, 100.0f,
                            12345.678f, 3.0e38f,  kInf,  -kInf,        kNan};
    for (const char* f : unary)
        for (float v : values) {
            Inputs in;
            in.Grey[0] = {v};
            char literal[64];
            std::snprintf(literal, sizeof literal, "%.9g", static_cast<double>(v));
            const std::string arg = v != v       ? "nan"
                                    : v == kInf  ? "inf"
                                    : v == -kInf ? "-inf"
                                                 : literal;
            const float folded = value(std::string(f) + "(" + arg + ")");
            const float run = value(std::string(f) + "(I1)", in);
            EXPECT_TRUE(sameBits(folded, run))
                << f << "(" << arg << "): folded " << folded << ", run " << run;
        }
    const char* binary[] = {"pow", "atan2", "hypot", "fmod", "min", "max"};
    const float pairs[][2] = {{2.0f, 3.0f},  {-2.0f, 3.0f}, {0.5f, -1.5f},
                              {-7.0f, 3.0f}, {1e30f, 7.0f}, {kNan, 1.0f}};
    auto literal = [](float v) {
        char text[64];
        std::snprintf(text, sizeof text, "%.9g", static_cast<double>(v));
        return v != v ? std::string("nan") : std::string(text);
    };
    for (const char* f : binary)
        for (const auto& p : pairs) {
            Inputs in;
            in.Grey[0] = {p[0]};
            in.Grey[1] = {p[1]};
            const std::string call =
                std::string(f) + "(" + literal(p[0]) + ", " + literal(p[1]) + ")";
            const float folded = value(call);
            const float run = value(std::string(f) + "(I1, I2)", in);
            EXPECT_TRUE(sameBits(folded, run)) << call << ": folded " << folded << ", run " << run;
        }
}

TEST(FormulaLanguage, ResultTypeFollowsTheRoot) {
    const struct {
        const char* Formula;
        eImageFormulaResultType::domain Type;
    } cases[] = {
        {"I1 > 100 && !B1", eImageFormulaResultType::eLogical},
        {"B1 * I1", eImageFormulaResultType::eNumeric},
        {"if(B1, B2, B3)", eImageFormulaResultType::eLogical},
        {"if(B1, 1, B2)", eImageFormulaResultType::eNumeric},
        {"B1 ? B2 : I1 > 0", eImageFormulaResultType::eLogical},
        {"+B1", eImageFormulaResultType::eNumeric},
        {"bool(I1)", eImageFormulaResultType::eLogical},
        {"count(B1, B2)", eImageFormulaResultType::eNumeric},
        {"inrange(I1, 0, 1)", eImageFormulaResultType::eLogical},
        {"isnan(I1)", eImageFormulaResultType::eLogical},
        {"map(L1, {1: 2})", eImageFormulaResultType::eNumeric},
        {"true", eImageFormulaResultType::eLogical},
        {"x", eImageFormulaResultType::eNumeric},
        {"B1", eImageFormulaResultType::eLogical},
        {"any(B1, I1 < 2)", eImageFormulaResultType::eLogical},
        {"min(B1, B2)", eImageFormulaResultType::eNumeric},
    };
    for (const auto& c : cases) {
        const auto m = compileOrFail(c.Formula);
        ASSERT_TRUE(m) << c.Formula;
        EXPECT_EQ(m->getResultType(), c.Type) << c.Formula;
    }
}

struct DiagnosticCase {
    const char* Formula;
    eFormulaDiagnosticCode Code;
    std::uint32_t Offset, Length;
    const char* HintPart = "";
};

FormulaCompileOptions onlyImages(std::uint16_t bound) {
    FormulaCompileOptions o;
    o.BoundImages = bound;
    return o;
}

void expectDiagnostic(const DiagnosticCase& c, const FormulaCompileOptions& o = {}) {
    const FormulaCompileResult r = compileFormula(c.Formula, o);
    ASSERT_FALSE(r.ok()) << c.Formula;
    ASSERT_EQ(r.Diagnostics.size(), 1u) << c.Formula;
    const FormulaDiagnostic& d = r.Diagnostics[0];
    EXPECT_STREQ(diagnosticCodeName(d.Code), diagnosticCodeName(c.Code)) << c.Formula << "\n"
                                                                         << formatDiagnostic(d);
    EXPECT_EQ(d.Offset, c.Offset) << c.Formula << "\n" << formatDiagnostic(d);
    EXPECT_EQ(d.Length, c.Length) << c.Formula << "\n" << formatDiagnostic(d);
    EXPECT_FALSE(d.Message.empty());
    EXPECT_NE(d.Hint.find(c.HintPart), std::string::npos)
        << c.Formula << ": hint '" << d.Hint << "'";
    const std::string text = formatDiagnostic(d);
    EXPECT_NE(text.find(diagnosticCodeName(c.Code)), std::string::npos);
    // The caret line marks the span under the formula's line.
    EXPECT_EQ(d.CaretLine.find('^'), d.Column - 1) << c.Formula;
    EXPECT_NE(text.find(d.CaretLine), std::string::npos);
}

TEST(FormulaDiagnostics, EveryCodeComesWithItsSpan) {
    using C = eFormulaDiagnosticCode;
    const DiagnosticCase cases[] = {
        {"", C::E_EMPTY, 0, 0},
        {"  # nothing but a comment", C::E_EMPTY, 0, 25},
        {"I1 + \xc3\xa9", C::E_CHAR, 5, 1, "ASCII"},
        {"I1 $ 2", C::E_CHAR, 3, 1},
        {"I1 +\x01", C::E_CHAR, 4, 1},
        {"1.2.3", C::E_NUMBER, 0, 5},
        {"2e+ 1", C::E_NUMBER, 0, 3, "1e-3"},
        {"0x1F", C::E_NUMBER, 0, 4, "decimal"},
        {"1e39", C::E_NUM_RANGE, 0, 4},
        {"2 * 100000000000000000000000000000000000000000", C::E_NUM_RANGE, 4, 42},
        {"I1 +", C::E_SYNTAX, 4, 0},
        {"* 2", C::E_SYNTAX, 0, 1},
        {"()", C::E_SYNTAX, 0, 2},
        {"I1 ** 2", C::E_SYNTAX, 3, 2, "^"},
        {"I1 = 2", C::E_SYNTAX, 3, 1, "=="},
        {"I1 > 0 & B1", C::E_SYNTAX, 7, 1, "&&"},
        {"B1 | B2", C::E_SYNTAX, 3, 1, "||"},
        {"I1 <> 2", C::E_SYNTAX, 3, 2, "!="},
        {"I1 > 0 and B1", C::E_SYNTAX, 7, 3, "&&"},
        {"not B1", C::E_SYNTAX, 0, 3, "!"},
        {"sin + 1", C::E_SYNTAX, 0, 3},
        {"I1(1, 0)", C::E_SYNTAX, 2, 1, "I1[dx,dy]"},
        {"x[1, 0]", C::E_SYNTAX, 1, 1},
        {"I1[1]", C::E_SYNTAX, 2, 3},
        {"map(L1, 3)", C::E_SYNTAX, 8, 1},
        {"(I1 + 2", C::E_UNBALANCED, 0, 1, ")"},
        {"I1 + 2)", C::E_UNBALANCED, 6, 1},
        {"sin(I1", C::E_UNBALANCED, 3, 1},
        {"(I1]", C::E_UNBALANCED, 3, 1},
        {"I1[1, 0", C::E_UNBALANCED, 2, 1},
        {"1 + 2 ,", C::E_TRAILING, 6, 1},
        {"I1 : 2", C::E_TRAILING, 3, 3},
        {"2x", C::E_MISSING_OPERATOR, 1, 1, "2 * x"},
        {"2 3", C::E_MISSING_OPERATOR, 2, 1},
        {"(I1)(I2)", C::E_MISSING_OPERATOR, 4, 1},
        {"I1 I2", C::E_MISSING_OPERATOR, 3, 2},
        {"i1 + 2", C::E_UNKNOWN_NAME, 0, 2, "'I1'"},
        {"I1 * widht", C::E_UNKNOWN_NAME, 5, 5, "'width'"},
        {"I4", C::E_UNKNOWN_NAME, 0, 2, "I3"},
        {"foo", C::E_UNKNOWN_NAME, 0, 3},
        {"sine(I1)", C::E_UNKNOWN_FUNCTION, 0, 4, "'sin'"},
        {"Sqrt(I1)", C::E_UNKNOWN_FUNCTION, 0, 4, "'sqrt'"},
        {"min(I1)", C::E_ARITY, 0, 7, "reductions"},
        {"max(I1)", C::E_ARITY, 0, 7, "reductions"},
        {"sin(I1, 2)", C::E_ARITY, 0, 10},
        {"atan2(I1)", C::E_ARITY, 0, 9},
        {"clamp(I1, 0)", C::E_ARITY, 0, 12},
        {"sum()", C::E_ARITY, 0, 5},
        {"piecewise(I1, 0)", C::E_ARITY, 0, 16},
        {"if(I1, 1, 2)", C::E_TYPE, 3, 2, "I1 != 0"},
        {"I1 ? 1 : 2", C::E_TYPE, 0, 2, "I1 != 0"},
        {"!I1", C::E_TYPE, 1, 2},
        {"!I1 > 5", C::E_TYPE, 1, 2},
        {"B1 && I1", C::E_TYPE, 6, 2},
        {"any(I1, B1)", C::E_TYPE, 4, 2},
        {"piecewise(I1, 0, 0, I2, 1)", C::E_TYPE, 20, 2},
        {"1 < I1 < 5", C::E_CHAINED_COMPARISON, 0, 8, "inrange"},
        {"I1 == I2 == I3", C::E_CHAINED_COMPARISON, 0, 11},
        {"I1[x, 0]", C::E_OFFSET_NOT_LITERAL, 3, 1},
        {"I1[1 + 1, 0]", C::E_OFFSET_NOT_LITERAL, 3, 3},
        {"I1[0, (1)]", C::E_OFFSET_NOT_LITERAL, 6, 3},
        {"I1[1.5, 0]", C::E_OFFSET_NOT_INTEGER, 3, 3},
        {"I1[0, -0.5]", C::E_OFFSET_NOT_INTEGER, 6, 4},
        {"I1[17, 0]", C::E_OFFSET_RANGE, 3, 2},
        {"I1[0, -100]", C::E_OFFSET_RANGE, 6, 4},
        {"I1[0, 0, 1]", C::E_DIMENSION, 9, 1},
        {"z + 1", C::E_DIMENSION, 0, 1},
        {"depth", C::E_DIMENSION, 0, 5},
        {"map(L1, {1: 2, 1: 3})", C::E_MAP_KEY, 15, 1},
        {"map(L1, {1..5: 2, 3: 3})", C::E_MAP_KEY, 18, 1},
        {"map(L1, {3: 2, 1..5: 3})", C::E_MAP_KEY, 15, 4},
        {"map(L1, {1.5: 2})", C::E_MAP_KEY, 9, 3},
        {"map(L1, {5..1: 2})", C::E_MAP_KEY, 9, 4},
        {"map(L1, {16777217: 2})", C::E_MAP_KEY, 9, 8},
        {"piecewise(I1, 1, 0, 1, 5)", C::E_MAP_KEY, 20, 1},
    };
    for (const auto& c : cases) expectDiagnostic(c);
}

TEST(FormulaDiagnostics, ContextDependentCodes) {
    using C = eFormulaDiagnosticCode;
    expectDiagnostic({"I1 + I2", C::E_UNBOUND_INPUT, 5, 2, "I2"}, onlyImages(0x1));
    expectDiagnostic({"L3", C::E_UNBOUND_INPUT, 0, 2}, onlyImages(0xff));
    FormulaCompileOptions numeric;
    numeric.RequiredResult = eFormulaResultKind::eNumeric;
    expectDiagnostic({"I1 > 0", C::E_RESULT_KIND, 0, 6}, numeric);
    FormulaCompileOptions logical;
    logical.RequiredResult = eFormulaResultKind::eLogical;
    expectDiagnostic({"I1 + 1", C::E_RESULT_KIND, 0, 6, "!= 0"}, logical);
    FormulaCompileOptions alias;
    alias.OutputAliases = 0x1;
    expectDiagnostic({"I2[1, 0] + I1[0, -1]", C::E_ALIAS_WITH_OFFSETS, 11, 9}, alias);
    EXPECT_TRUE(compileFormula("I1 + I2[1, 0]", alias).ok());
    FormulaCompileOptions in3d;
    in3d.Dimension = eFormulaDimension::e3d;
    EXPECT_TRUE(compileFormula("I1[0, 0, 1] * z / depth", in3d).ok());
    expectDiagnostic({"I1[0, 0, 0, 1]", C::E_SYNTAX, 12, 1}, in3d);
    // A NUL inside the text is a character like any other.
    const FormulaCompileResult nul = compileFormula(std::string_view("1 +\0 2", 6));
    ASSERT_FALSE(nul.ok());
    EXPECT_EQ(nul.Diagnostics[0].Code, C::E_CHAR);
    EXPECT_EQ(nul.Diagnostics[0].Offset, 3u);
}

TEST(FormulaDiagnostics, LimitsAreEnforcedBeforeTheWorkTheyBound) {
    using C = eFormulaDiagnosticCode;
    expectDiagnostic({std::string(4097, ' ').c_str(), C::E_LIMIT_LENGTH, 4096, 1});
    std::string tokens = "1";
    for (int i = 0; i < 512; ++i) tokens += "+1";  // 1025 tokens
    expectDiagnostic({tokens.c_str(), C::E_LIMIT_TOKENS, 1024, 1});
    const std::string deep = std::string(65, '(') + "1" + std::string(65, ')');
    expectDiagnostic({deep.c_str(), C::E_LIMIT_NESTING, 64, 1});
    EXPECT_TRUE(compileFormula(std::string(64, '(') + "1" + std::string(64, ')')).ok());
    const std::string minus = std::string(65, '-') + "1";
    expectDiagnostic({minus.c_str(), C::E_LIMIT_NESTING, 64, 1});
    std::string powers = "2";
    for (int i = 0; i < 65; ++i) powers += "^2";
    expectDiagnostic({powers.c_str(), C::E_LIMIT_NESTING, 129, 1});
    std::string args = "sum(I1";
    for (int i = 0; i < 64; ++i) args += ",I1";
    expectDiagnostic({(args + ")").c_str(), C::E_LIMIT_ARGUMENTS, 196, 2});

    FormulaCompileOptions o;
    o.Limits.MaxNodes = 5;
    EXPECT_TRUE(compileFormula("I1 + I2 + I3", o).ok());
    expectDiagnostic({"I1 + I2 + I3 + x", C::E_LIMIT_NODES, 0, 16}, o);
    o = {};
    o.Limits.MaxReads = 2;
    EXPECT_TRUE(compileFormula("I1 + I1[0, 0] + I2", o).ok()) << "identical reads are merged";
    expectDiagnostic({"I1 + I2 + I1[1, 0]", C::E_LIMIT_READS, 0, 18}, o);
    o = {};
    o.Limits.MaxMapEntries = 2;
    expectDiagnostic({"map(L1, {1: 1, 2..7: 2, 9: 3})", C::E_LIMIT_MAP_ENTRIES, 24, 1}, o);
    o = {};
    o.Limits.MaxTemporaries = 2;
    EXPECT_TRUE(compileFormula("I1 * I2 + I3", o).ok());
    expectDiagnostic({"(I1 + I2) * (I2 + I3)", C::E_LIMIT_TEMPORARIES, 0, 21}, o);
    o = {};
    o.Limits.MaxOffset = 2;
    expectDiagnostic({"I1[3, 0]", C::E_OFFSET_RANGE, 3, 1}, o);
    // Limits above the defaults are taken as the defaults.
    o = {};
    o.Limits.MaxNesting = 100000;
    expectDiagnostic({deep.c_str(), C::E_LIMIT_NESTING, 64, 1}, o);
}

TEST(FormulaDiagnostics, LineAndColumnCountFromOneOnTheFaultyLine) {
    const FormulaCompileResult r = compileFormula("I1 +\n\tI2 * i3 # third");
    ASSERT_FALSE(r.ok());
    const FormulaDiagnostic& d = r.Diagnostics[0];
    EXPECT_EQ(d.Code, eFormulaDiagnosticCode::E_UNKNOWN_NAME);
    EXPECT_EQ(d.Line, 2u);
    EXPECT_EQ(d.Column, 7u);
    EXPECT_EQ(d.SourceLine, "\tI2 * i3 # third");
    EXPECT_EQ(d.CaretLine, "\t     ^^");
    EXPECT_EQ(d.Hint, "did you mean 'I3'?");
}

// ---- offsets, coordinates and borders ----------------------------------------------------

// Independent folding of an index by the border rules, one reflection at a time.
std::int64_t foldIndex(image::eBorderPolicyType::domain type, std::int64_t i, std::int64_t n) {
    using T = image::eBorderPolicyType;
    if (i >= 0 && i < n) return i;
    switch (type) {
        case T::eConstant:
            return -1;
        case T::eNearest:
            return i < 0 ? 0 : n - 1;
        case T::ePeriodic:
            while (i < 0) i += n;
            while (i >= n) i -= n;
            return i;
        case T::eMirror:
            while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
            return i;
        case T::eMirrorEdge:
            while (i < 0 || i >= n) i = i < 0 ? -1 - i : 2 * n - 1 - i;
            return i;
    }
    return -2;
}

TEST(FormulaOffsets, ReadsOutsideFollowTheBorderPolicy) {
    Inputs in;
    in.SizeX = 5;
    in.SizeY = 4;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x) {
            in.Grey[0].push_back(static_cast<float>(10 * y + x));
            in.Binary[0].push_back(static_cast<std::uint8_t>((x + y) % 2 ? 7 : 0));
            in.Label[0].push_back(static_cast<std::uint32_t>(100 + x));
        }
    const image::BorderPolicy policies[] = {
        image::BorderPolicy::constant(-3.5), image::BorderPolicy::nearest(),
        image::BorderPolicy::mirror(), image::BorderPolicy::mirrorEdge(),
        image::BorderPolicy::periodic()};
    const int offsets[][2] = {{-1, 0}, {2, -1}, {0, 3}, {-6, 5}, {16, -16}};
    for (const auto& policy : policies)
        for (const auto& d : offsets) {
            const std::string at = "[" + std::to_string(d[0]) + "," + std::to_string(d[1]) + "]";
            const auto grey =
                evaluate(compileOrFail("I1" + at), in, eInstructionSet::eStandard, policy);
            const auto binary =
                evaluate(compileOrFail("B1" + at), in, eInstructionSet::eStandard, policy);
            const auto label =
                evaluate(compileOrFail("L1" + at), in, eInstructionSet::eStandard, policy);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 5; ++x) {
                    const auto xi = foldIndex(policy.getType(), x + d[0], 5);
                    const auto yi = foldIndex(policy.getType(), y + d[1], 4);
                    const bool outside = xi < 0 || yi < 0;
                    const std::size_t k = static_cast<std::size_t>(y * 5 + x);
                    const float g = outside ? -3.5f : static_cast<float>(10 * yi + xi);
                    const float b = outside ? 0.0f : ((xi + yi) % 2 ? 1.0f : 0.0f);
                    const float l = outside ? 0.0f : static_cast<float>(100 + xi);
                    EXPECT_EQ(grey[k], g) << "I1" << at << " at " << x << "," << y << " policy "
                                          << int(policy.getType());
                    EXPECT_EQ(binary[k], b) << "B1" << at << " at " << x << "," << y;
                    EXPECT_EQ(label[k], l) << "L1" << at << " at " << x << "," << y;
                }
        }
}

TEST(FormulaOffsets, CoordinatesSizesAndTheFourNeighbourMean) {
    Inputs in;
    in.SizeX = 7;
    in.SizeY = 3;
    for (int i = 0; i < 21; ++i) in.Grey[0].push_back(static_cast<float>(i * i % 11));
    const auto coords =
        evaluate(compileOrFail("x + 100 * y + 10000 * width + 1000000 * height"), in);
    const auto mean = evaluate(compileOrFail("(I1[-1,0] + I1[1,0] + I1[0,-1] + I1[0,1]) / 4"), in,
                               eInstructionSet::eStandard, image::BorderPolicy::nearest());
    auto at = [&](int x, int y) {
        return in.Grey[0][static_cast<std::size_t>(std::clamp(y, 0, 2) * 7 + std::clamp(x, 0, 6))];
    };
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 7; ++x) {
            EXPECT_EQ(coords[static_cast<std::size_t>(y * 7 + x)],
                      static_cast<float>(x + 100 * y + 70000 + 3000000));
            const float expected = (at(x - 1, y) + at(x + 1, y) + at(x, y - 1) + at(x, y + 1)) / 4;
            EXPECT_EQ(mean[static_cast<std::size_t>(y * 7 + x)], expected) << x << "," << y;
        }
}

TEST(FormulaOffsets, VolumesReadAlongZAndReportTheirDepth) {
    Inputs in;
    in.SizeX = 4;
    in.SizeY = 3;
    in.SizeZ = 3;
    for (int i = 0; i < 36; ++i) in.Grey[0].push_back(static_cast<float>(i));
    FormulaCompileOptions o;
    o.Dimension = eFormulaDimension::e3d;
    const auto m = compileOrFail("I1[1,0,-1] + z * 100 + depth * 1000 + I1[0,0,2] * 10000", o);
    ASSERT_TRUE(m);
    EXPECT_EQ(m->getHalo().Before, (std::array<int, 3>{0, 0, 1}));
    EXPECT_EQ(m->getHalo().After, (std::array<int, 3>{1, 0, 2}));
    const auto out = evaluate(m, in, eInstructionSet::eStandard, image::BorderPolicy::mirror());
    auto at = [&](int x, int y, int z) {
        const auto xi = foldIndex(image::eBorderPolicyType::eMirror, x, 4);
        const auto zi = foldIndex(image::eBorderPolicyType::eMirror, z, 3);
        return static_cast<float>(zi * 12 + y * 4 + xi);
    };
    for (int z = 0; z < 3; ++z)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x) {
                const float want = at(x + 1, y, z - 1) + static_cast<float>(z * 100) + 3000.0f +
                                   at(x, y, z + 2) * 10000.0f;
                EXPECT_EQ(out[static_cast<std::size_t>(z * 12 + y * 4 + x)], want)
                    << x << "," << y << "," << z;
            }
}

TEST(FormulaOffsets, ManagerReportsReadsHaloImagesAndMerging) {
    const auto m = compileOrFail("I1[-2,1] + I2[3,-1] + I1[-2,1] + L3 + I2[3,-1]");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->getReads().size(), 3u);
    FormulaHalo halo;
    halo.Before = {2, 1, 0};
    halo.After = {3, 1, 0};
    EXPECT_EQ(m->getHalo(), halo);
    EXPECT_EQ(m->getImageIdSet(), (std::set<unsigned>{0, 1, 8}));
    // Common sub-expressions merge too, commutative ones in either order.
    const auto cse = compileOrFail("sin(I1 + I2) * sin(I2 + I1) + sin(I1 + I2)");
    ASSERT_TRUE(cse);
    EXPECT_EQ(cse->getNodeCount(), 6u);  // I1 I2 + sin * +
    const auto folded = compileOrFail("I1 * (2 + 3) + 0 * 4");
    ASSERT_TRUE(folded);
    EXPECT_EQ(folded->getNodeCount(), 5u);  // I1 5 * 0 +
    FormulaCompileOptions in3d;
    in3d.Dimension = eFormulaDimension::e3d;
    const auto m3 = compileOrFail("B2[0,0,-4] + B2[1,0] + z", in3d);
    ASSERT_TRUE(m3);
    EXPECT_EQ(m3->getHalo().Before[2], 4);
    EXPECT_TRUE(m3->usesCoordinate(2));
    EXPECT_FALSE(m3->usesCoordinate(0));
}

TEST(FormulaExplain, ShowsTheParseTheResultTheImagesTheHaloAndTheNodes) {
    const struct {
        const char* Formula;
        const char* NormalForm;
    } cases[] = {
        {"-2^2", "-(2^2)"},
        {"2^3^2", "(2^(3^2))"},
        {"1 + 2 * 3 - 4", "((1 + (2 * 3)) - 4)"},
        {"a1 ? 1 : 2", nullptr},
        {"B1 ? I1 : -I2[1,0]", "(B1 ? I1 : -I2[1,0])"},
        {"!B1 && I1 > 2 || B2", "((!B1 && (I1 > 2)) || B2)"},
        {"map(L1, {0: 0, 1..9: 1}, 2)", "map(L1, {0: 0, 1..9: 1}, 2)"},
        {"clamp(I1 * 1.5 - 20, 0, 255)", "clamp(((I1 * 1.5) - 20), 0, 255)"},
    };
    for (const auto& c : cases) {
        const FormulaExplanation e = explainFormula(c.Formula);
        if (!c.NormalForm) {
            EXPECT_FALSE(e.Valid);
            EXPECT_NE(e.Text.find("E_UNKNOWN_NAME"), std::string::npos);
            continue;
        }
        EXPECT_TRUE(e.Valid) << c.Formula;
        EXPECT_EQ(e.NormalForm, c.NormalForm);
        EXPECT_NE(e.Text.find(c.NormalForm), std::string::npos);
    }
    const FormulaExplanation e = explainFormula("I2[-1,2] > L1");
    EXPECT_EQ(e.ResultType, eImageFormulaResultType::eLogical);
    EXPECT_EQ(e.Text,
              "formula: (I2[-1,2] > L1)\nresult: bool (logical, result type 0)\nimages: I2 L1\n"
              "halo: x -1 +0, y -0 +2\nnodes: 3\n");
}

TEST(FormulaAttribute, ValidatesCompilesOnceAndReportsItsManager) {
    ImageFormula2dAttribute a;
    EXPECT_FALSE(a.validateFormula());
    a.setFormulaStr("I1 + L2");
    ASSERT_TRUE(a.validateFormula());
    ASSERT_TRUE(a.getImageFormulaManager());
    EXPECT_EQ(a.getImageFormulaManager()->getImageIdSet(), (std::set<unsigned>{0, 7}));
    EXPECT_EQ(a.getImageFormulaManager()->getResultType(), eImageFormulaResultType::eNumeric);
    const FormulaValidation unbound = a.validateFormula(0x1, eFormulaResultKind::eAny);
    EXPECT_FALSE(unbound.Success);
    EXPECT_NE(unbound.Diagnostic.find("E_UNBOUND_INPUT"), std::string::npos) << unbound.Diagnostic;
    EXPECT_FALSE(a.validateFormula(0x1ff, eFormulaResultKind::eLogical));

    a.setFormulaStr("I1 + i2");
    const FormulaValidation bad = a.validateFormula();
    EXPECT_FALSE(bad.Success);
    EXPECT_EQ(bad.Diagnostic,
              "E_UNKNOWN_NAME (line 1, column 6): unknown name 'i2'\n  I1 + i2\n       ^^\n  hint: "
              "did you mean 'I2'?\n");
    EXPECT_FALSE(a.getImageFormulaManager());

    ImageFormula3dAttribute b;
    b.setFormulaStr("I1[0,0,-1] < z");
    EXPECT_TRUE(b.validateFormula());
    EXPECT_EQ(b.getImageFormulaManager()->getResultType(), eImageFormulaResultType::eLogical);
    ImageFormula2dAttribute c;
    c.setFormulaStr("I1[0,0,-1] < z");
    EXPECT_FALSE(c.validateFormula());
}

}  // namespace
