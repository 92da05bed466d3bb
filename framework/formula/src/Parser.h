#pragma once

// Tokenizer and parser of the formula language: text to a typed tree. Internal
// to the compiler (Compiler.cpp lowers the tree to the item list).

#include <vimra/formula/FormulaTypes.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vimra::formula::detail {

/// A compilation stops at its first error with this.
struct CompileError {
    eFormulaDiagnosticCode Code;
    std::string Message;
    std::uint32_t Offset, Length;
    std::string Hint;
};

enum class Tok : std::uint8_t {
    Number,
    Ident,
    LParen,
    RParen,
    LBracket,
    RBracket,
    LBrace,
    RBrace,
    Comma,
    Colon,
    DotDot,
    Question,
    Plus,
    Minus,
    Star,
    Slash,
    Percent,
    Caret,
    Lt,
    Le,
    Gt,
    Ge,
    EqEq,
    Ne,
    AndAnd,
    OrOr,
    Bang,
    End,
};

struct Token {
    Tok Kind = Tok::End;
    std::uint32_t Offset = 0, Length = 0;
    float Number = 0.0f;
};

/// Splits the text into tokens, ending with Tok::End. Throws CompileError.
std::vector<Token> tokenize(std::string_view text, const FormulaLimits& limits);

/// Node kinds of the parse tree.
enum class NodeKind : std::uint8_t {
    Constant,    ///< number, named constant, true/false
    Coordinate,  ///< x y z (Code: axis)
    ImageSize,   ///< width height depth (Code: FormulaImageConstantInfo)
    Read,        ///< I1[dx,dy,dz] ...
    Plus,        ///< unary + (changes only the type of a bool)
    Operator,    ///< Code: eImageFormulaOperatorType (Negate, Not, binary)
    Unary,       ///< Code: eImageFormulaUnaryArithmeticFunctionType
    Binary,      ///< Code: eImageFormulaBinaryArithmeticFunctionType
    Generic,     ///< Code: FormulaGenericArithmeticFunctionInfo::domain
    Coupled,     ///< Code: FormulaCoupledArithmeticFunctionInfo::domain
    Map,         ///< Args: value [, default]; Table: index into Parsed::Maps
    If,          ///< if(c, a, b) or c ? a : b (Ternary: spelled with ?:)
};

struct Node {
    NodeKind Kind = NodeKind::Constant;
    bool IsBool = false;
    bool Ternary = false;
    std::uint8_t Code = 0;
    float Value = 0.0f;
    FormulaImageWithOffsetInfo Read;
    std::vector<int> Args;
    int Table = -1;
    std::uint32_t Offset = 0, Length = 0;  ///< span in the text
    std::string Spelling;                  ///< literal text or name, for the normal form
};

/// The parse tree. Children come before their parents, so the node list in
/// order is a bottom-up walk; Root is the last node.
struct Parsed {
    std::vector<Node> Nodes;
    int Root = -1;
    std::vector<FormulaMapInfo> Maps;
    std::vector<FormulaCoupledArithmeticFunctionInfo> Piecewise;
    std::vector<std::string> MapSpellings;  ///< the {...} part of each map, normalised
};

/// Parses and type-checks. Throws CompileError.
Parsed parse(std::string_view text, const FormulaCompileOptions& options,
             const FormulaLimits& limits);

/// The fully parenthesised form of the tree under `node`.
std::string normalForm(const Parsed& parsed, int node, eFormulaDimension dimension);

/// Effective limits: the given ones, none above the defaults.
FormulaLimits effectiveLimits(const FormulaLimits& requested);

}  // namespace vimra::formula::detail
