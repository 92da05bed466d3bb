#include "Parser.h"

#include <vimra/formula/ImageFormulaManager.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace vimra::formula::detail {

namespace {

using Code = eFormulaDiagnosticCode;
using OpT = eImageFormulaOperatorType;
using UnT = eImageFormulaUnaryArithmeticFunctionType;
using BinT = eImageFormulaBinaryArithmeticFunctionType;
using GenT = FormulaGenericArithmeticFunctionInfo;
using CplT = FormulaCoupledArithmeticFunctionInfo;

[[noreturn]] void fail(Code code, std::uint32_t offset, std::uint32_t length, std::string message,
                       std::string hint = {}) {
    throw CompileError{code, std::move(message), offset, length, std::move(hint)};
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isIdentChar(char c) {
    return isAlpha(c) || isDigit(c) || c == '_';
}

std::string printable(char c) {
    const auto u = static_cast<unsigned char>(c);
    if (u >= 0x20 && u < 0x7f) return std::string("'") + c + "'";
    static const char* hex = "0123456789abcdef";
    return std::string("byte 0x") + hex[u >> 4] + hex[u & 15];
}

// ---- tokenizer ----------------------------------------------------------------------------

/// Whether a decimal literal is at least 1 in magnitude (from its digits, since
/// it may not fit a double either).
bool atLeastOne(std::string_view text) {
    long long magnitude = 0;  // power of ten of the first significant digit
    bool seenPoint = false, seenDigit = false;
    long long beforePoint = 0, zerosAfterPoint = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] != 'e' && text[i] != 'E'; ++i) {
        const char c = text[i];
        if (c == '.') {
            seenPoint = true;
        } else if (!seenDigit && c == '0') {
            if (seenPoint) ++zerosAfterPoint;
        } else {
            if (!seenDigit && seenPoint) magnitude = -(zerosAfterPoint + 1);
            seenDigit = true;
            if (!seenPoint) ++beforePoint;
        }
    }
    if (!seenDigit) return false;
    if (beforePoint > 0) magnitude = beforePoint - 1;
    long long exponent = 0;
    bool negative = false;
    if (i < text.size()) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
        for (; i < text.size(); ++i)
            exponent = std::min(exponent * 10 + (text[i] - '0'), 1000000000LL);
    }
    return magnitude + (negative ? -exponent : exponent) >= 0;
}

float parseNumber(std::string_view text, std::uint32_t offset) {
    float value = 0.0f;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(first, last, value, std::chars_format::general);
    if (ec == std::errc::result_out_of_range) {
        // Out of range is overflow or underflow; underflow rounds to zero.
        if (atLeastOne(text))
            fail(Code::E_NUM_RANGE, offset, static_cast<std::uint32_t>(text.size()),
                 "number " + std::string(text.substr(0, 40)) + (text.size() > 40 ? "..." : "") +
                     " is too large for a float",
                 "the largest float is about 3.4e38");
        return 0.0f;
    }
    if (ec != std::errc() || ptr != last)
        fail(Code::E_NUMBER, offset, static_cast<std::uint32_t>(text.size()), "malformed number");
    return value;
}

}  // namespace

FormulaLimits effectiveLimits(const FormulaLimits& r) {
    const FormulaLimits d;
    FormulaLimits e;
    e.MaxLength = std::min(r.MaxLength, d.MaxLength);
    e.MaxTokens = std::min(r.MaxTokens, d.MaxTokens);
    e.MaxNesting = std::min(r.MaxNesting, d.MaxNesting);
    e.MaxNodes = std::min(r.MaxNodes, d.MaxNodes);
    e.MaxReads = std::min(r.MaxReads, d.MaxReads);
    e.MaxOffset = std::min(r.MaxOffset, d.MaxOffset);
    e.MaxArguments = std::min(r.MaxArguments, d.MaxArguments);
    e.MaxMapEntries = std::min(r.MaxMapEntries, d.MaxMapEntries);
    e.MaxTemporaries = std::min(r.MaxTemporaries, d.MaxTemporaries);
    return e;
}

std::vector<Token> tokenize(std::string_view text, const FormulaLimits& limits) {
    std::vector<Token> tokens;
    const auto n = static_cast<std::uint32_t>(text.size());
    std::uint32_t i = 0;
    tokens.reserve(std::min<std::size_t>(text.size() / 2 + 2, limits.MaxTokens + 1));
    auto push = [&](Tok kind, std::uint32_t offset, std::uint32_t length, float number = 0.0f) {
        if (tokens.size() >= limits.MaxTokens)
            fail(Code::E_LIMIT_TOKENS, offset, length,
                 "the formula has more than " + std::to_string(limits.MaxTokens) + " tokens");
        tokens.push_back({kind, offset, length, number});
    };
    auto at = [&](std::uint32_t k) { return k < n ? text[k] : '\0'; };
    while (i < n) {
        const char c = text[i];
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x80 || (u < 0x20 && c != '\t' && c != '\n' && c != '\r') || u == 0x7f)
            fail(Code::E_CHAR, i, 1, "unexpected " + printable(c) + " in the formula",
                 "formulas are plain ASCII text");
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            ++i;
            continue;
        }
        if (c == '#') {
            while (i < n && text[i] != '\n') ++i;
            continue;
        }
        const std::uint32_t start = i;
        if (isDigit(c) || (c == '.' && isDigit(at(i + 1)))) {
            if (c == '0' && (at(i + 1) == 'x' || at(i + 1) == 'X')) {
                std::uint32_t j = i + 2;
                while (j < n && isIdentChar(text[j])) ++j;
                fail(Code::E_NUMBER, start, j - start, "hexadecimal numbers are not supported",
                     "write the number in decimal");
            }
            while (isDigit(at(i))) ++i;
            if (at(i) == '.' && at(i + 1) != '.') {
                ++i;
                while (isDigit(at(i))) ++i;
                if (at(i) == '.' && at(i + 1) != '.') {
                    while (isDigit(at(i)) || at(i) == '.') ++i;
                    fail(Code::E_NUMBER, start, i - start,
                         "a number has more than one decimal point");
                }
            }
            if (at(i) == 'e' || at(i) == 'E') {
                std::uint32_t j = i + 1;
                if (at(j) == '+' || at(j) == '-') ++j;
                if (!isDigit(at(j)))
                    fail(Code::E_NUMBER, start, j - start, "the exponent of a number has no digits",
                         "write for example 1e-3");
                i = j;
                while (isDigit(at(i))) ++i;
            }
            push(Tok::Number, start, i - start, parseNumber(text.substr(start, i - start), start));
            continue;
        }
        if (isAlpha(c)) {
            while (i < n && isIdentChar(text[i])) ++i;
            const std::string_view word = text.substr(start, i - start);
            if (word == "and" || word == "or" || word == "not") {
                const char* use = word == "and" ? "&&" : word == "or" ? "||" : "!";
                fail(Code::E_SYNTAX, start, i - start,
                     "'" + std::string(word) + "' is not an operator of formulas",
                     std::string("use ") + use);
            }
            push(Tok::Ident, start, i - start);
            continue;
        }
        const char d = at(i + 1);
        auto two = [&](Tok kind) {
            push(kind, start, 2);
            i += 2;
        };
        auto one = [&](Tok kind) {
            push(kind, start, 1);
            i += 1;
        };
        switch (c) {
            case '(':
                one(Tok::LParen);
                break;
            case ')':
                one(Tok::RParen);
                break;
            case '[':
                one(Tok::LBracket);
                break;
            case ']':
                one(Tok::RBracket);
                break;
            case '{':
                one(Tok::LBrace);
                break;
            case '}':
                one(Tok::RBrace);
                break;
            case ',':
                one(Tok::Comma);
                break;
            case ':':
                one(Tok::Colon);
                break;
            case '?':
                one(Tok::Question);
                break;
            case '+':
                one(Tok::Plus);
                break;
            case '-':
                one(Tok::Minus);
                break;
            case '/':
                one(Tok::Slash);
                break;
            case '%':
                one(Tok::Percent);
                break;
            case '^':
                one(Tok::Caret);
                break;
            case '.':
                if (d == '.')
                    two(Tok::DotDot);
                else
                    fail(Code::E_SYNTAX, start, 1, "unexpected '.'",
                         "ranges of map keys are written a..b");
                break;
            case '*':
                if (d == '*')
                    fail(Code::E_SYNTAX, start, 2, "'**' is not an operator of formulas",
                         "use ^ for powers");
                one(Tok::Star);
                break;
            case '<':
                if (d == '>')
                    fail(Code::E_SYNTAX, start, 2, "'<>' is not an operator of formulas", "use !=");
                if (d == '=')
                    two(Tok::Le);
                else
                    one(Tok::Lt);
                break;
            case '>':
                if (d == '=')
                    two(Tok::Ge);
                else
                    one(Tok::Gt);
                break;
            case '=':
                if (d == '=')
                    two(Tok::EqEq);
                else
                    fail(Code::E_SYNTAX, start, 1, "'=' is not an operator of formulas",
                         "use == to compare");
                break;
            case '!':
                if (d == '=')
                    two(Tok::Ne);
                else
                    one(Tok::Bang);
                break;
            case '&':
                if (d == '&')
                    two(Tok::AndAnd);
                else
                    fail(Code::E_SYNTAX, start, 1, "'&' is not an operator of formulas",
                         "use && for logical and");
                break;
            case '|':
                if (d == '|')
                    two(Tok::OrOr);
                else
                    fail(Code::E_SYNTAX, start, 1, "'|' is not an operator of formulas",
                         "use || for logical or");
                break;
            default:
                fail(Code::E_CHAR, start, 1, "unexpected " + printable(c) + " in the formula");
        }
    }
    tokens.push_back({Tok::End, n, 0, 0.0f});
    return tokens;
}

namespace {

// ---- names --------------------------------------------------------------------------------

enum class FnKind : std::uint8_t { Unary, UnaryBool, Binary, Generic, Coupled, Map, If };
struct Function {
    const char* Name;
    FnKind Kind;
    std::uint8_t Code;
};

constexpr std::array kFunctions = {
    Function{"abs", FnKind::Unary, UnT::eAbs},
    Function{"sign", FnKind::Unary, UnT::eSign},
    Function{"sqrt", FnKind::Unary, UnT::eSqrt},
    Function{"cbrt", FnKind::Unary, UnT::eCbrt},
    Function{"exp", FnKind::Unary, UnT::eExp},
    Function{"exp2", FnKind::Unary, UnT::eExp2},
    Function{"log", FnKind::Unary, UnT::eLog},
    Function{"log2", FnKind::Unary, UnT::eLog2},
    Function{"log10", FnKind::Unary, UnT::eLog10},
    Function{"sin", FnKind::Unary, UnT::eSin},
    Function{"cos", FnKind::Unary, UnT::eCos},
    Function{"tan", FnKind::Unary, UnT::eTan},
    Function{"asin", FnKind::Unary, UnT::eAsin},
    Function{"acos", FnKind::Unary, UnT::eAcos},
    Function{"atan", FnKind::Unary, UnT::eAtan},
    Function{"sinh", FnKind::Unary, UnT::eSinh},
    Function{"cosh", FnKind::Unary, UnT::eCosh},
    Function{"tanh", FnKind::Unary, UnT::eTanh},
    Function{"floor", FnKind::Unary, UnT::eFloor},
    Function{"ceil", FnKind::Unary, UnT::eCeil},
    Function{"round", FnKind::Unary, UnT::eRound},
    Function{"trunc", FnKind::Unary, UnT::eTrunc},
    Function{"frac", FnKind::Unary, UnT::eFrac},
    Function{"isnan", FnKind::UnaryBool, UnT::eIsNan},
    Function{"isinf", FnKind::UnaryBool, UnT::eIsInf},
    Function{"isfinite", FnKind::UnaryBool, UnT::eIsFinite},
    Function{"bool", FnKind::UnaryBool, UnT::eBool},
    Function{"pow", FnKind::Binary, BinT::ePow},
    Function{"atan2", FnKind::Binary, BinT::eAtan2},
    Function{"hypot", FnKind::Binary, BinT::eHypot},
    Function{"fmod", FnKind::Binary, BinT::eFmod},
    Function{"min", FnKind::Generic, GenT::eMin},
    Function{"max", FnKind::Generic, GenT::eMax},
    Function{"sum", FnKind::Generic, GenT::eSum},
    Function{"mean", FnKind::Generic, GenT::eMean},
    Function{"any", FnKind::Generic, GenT::eAny},
    Function{"all", FnKind::Generic, GenT::eAll},
    Function{"count", FnKind::Generic, GenT::eCount},
    Function{"clamp", FnKind::Coupled, CplT::eClamp},
    Function{"lerp", FnKind::Coupled, CplT::eLerp},
    Function{"inrange", FnKind::Coupled, CplT::eInRange},
    Function{"piecewise", FnKind::Coupled, CplT::ePiecewise},
    Function{"map", FnKind::Map, 0},
    Function{"if", FnKind::If, 0},
};

const Function* findFunction(std::string_view name) {
    for (const auto& f : kFunctions)
        if (name == f.Name) return &f;
    return nullptr;
}

constexpr std::array<const char*, 19> kNames = {
    "I1", "I2", "I3",    "B1",     "B2",    "B3",   "L1",    "L2", "L3", "x",
    "y",  "z",  "width", "height", "depth", "true", "false", "pi", "e"};
constexpr std::array<const char*, 2> kMoreNames = {"inf", "nan"};

std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> prev(b.size() + 1), cur(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) prev[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j)
            cur[j] = std::min(
                {prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

std::string lower(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return r;
}

/// "did you mean 'I1'?" for a misspelt name, or empty.
std::string suggest(std::string_view word, bool functions) {
    std::vector<std::string_view> candidates;
    if (functions) {
        for (const auto& f : kFunctions) candidates.emplace_back(f.Name);
    } else {
        for (const char* n : kNames) candidates.emplace_back(n);
        for (const char* n : kMoreNames) candidates.emplace_back(n);
    }
    if (word.size() > 64) return {};
    for (auto c : candidates)
        if (lower(c) == lower(word)) return "did you mean '" + std::string(c) + "'?";
    std::string_view best;
    std::size_t bestDistance = word.size() <= 3 ? 1 : 2;
    for (auto c : candidates) {
        const std::size_t d = editDistance(lower(word), lower(c));
        if (d <= bestDistance && (best.empty() || d < bestDistance)) {
            best = c;
            bestDistance = d;
        }
    }
    return best.empty() ? std::string{} : "did you mean '" + std::string(best) + "'?";
}

const char* tokenText(Tok t) {
    switch (t) {
        case Tok::Number:
            return "a number";
        case Tok::Ident:
            return "a name";
        case Tok::LParen:
            return "'('";
        case Tok::RParen:
            return "')'";
        case Tok::LBracket:
            return "'['";
        case Tok::RBracket:
            return "']'";
        case Tok::LBrace:
            return "'{'";
        case Tok::RBrace:
            return "'}'";
        case Tok::Comma:
            return "','";
        case Tok::Colon:
            return "':'";
        case Tok::DotDot:
            return "'..'";
        case Tok::Question:
            return "'?'";
        case Tok::Plus:
            return "'+'";
        case Tok::Minus:
            return "'-'";
        case Tok::Star:
            return "'*'";
        case Tok::Slash:
            return "'/'";
        case Tok::Percent:
            return "'%'";
        case Tok::Caret:
            return "'^'";
        case Tok::Lt:
            return "'<'";
        case Tok::Le:
            return "'<='";
        case Tok::Gt:
            return "'>'";
        case Tok::Ge:
            return "'>='";
        case Tok::EqEq:
            return "'=='";
        case Tok::Ne:
            return "'!='";
        case Tok::AndAnd:
            return "'&&'";
        case Tok::OrOr:
            return "'||'";
        case Tok::Bang:
            return "'!'";
        case Tok::End:
            return "the end of the formula";
    }
    return "?";
}

bool startsOperand(Tok t) {
    return t == Tok::Number || t == Tok::Ident || t == Tok::LParen || t == Tok::Bang;
}

const char* operatorSpelling(std::uint8_t code) {
    static constexpr std::array<const char*, 16> s = {
        "+", "-", "*", "/", "%", "^", "<", "<=", ">", ">=", "==", "!=", "&&", "||", "-", "!"};
    return s[code];
}

// ---- parser -------------------------------------------------------------------------------

class Parser {
  public:
    Parser(std::string_view text, std::vector<Token> tokens, const FormulaCompileOptions& options,
           const FormulaLimits& limits)
        : m_text(text), m_tokens(std::move(tokens)), m_options(options), m_limits(limits) {
        m_out.Nodes.reserve(m_tokens.size());
    }

    Parsed run() {
        if (peek().Kind == Tok::End)
            fail(Code::E_EMPTY, 0, static_cast<std::uint32_t>(m_text.size()),
                 "the formula is empty", "write an expression such as I1 * 2");
        const int root = ternary();
        const Token& t = peek();
        if (t.Kind != Tok::End) {
            if (t.Kind == Tok::RParen || t.Kind == Tok::RBracket || t.Kind == Tok::RBrace)
                fail(Code::E_UNBALANCED, t.Offset, t.Length,
                     std::string(tokenText(t.Kind)) + " closes nothing");
            if (startsOperand(t.Kind)) missingOperator(t);
            fail(Code::E_TRAILING, t.Offset, static_cast<std::uint32_t>(m_text.size()) - t.Offset,
                 std::string("unexpected ") + tokenText(t.Kind) + " after a complete formula");
        }
        m_out.Root = root;
        return std::move(m_out);
    }

  private:
    // Every recursion goes through this guard, which counts before descending.
    struct Nest {
        explicit Nest(Parser& p, const Token& at) : m_p(p) {
            if (++m_p.m_depth > m_p.m_limits.MaxNesting)
                fail(Code::E_LIMIT_NESTING, at.Offset, at.Length,
                     "the formula nests deeper than " + std::to_string(m_p.m_limits.MaxNesting) +
                         " levels");
        }
        ~Nest() { --m_p.m_depth; }
        Nest(const Nest&) = delete;
        Nest& operator=(const Nest&) = delete;
        Parser& m_p;
    };

    const Token& peek(std::size_t k = 0) const {
        return m_tokens[std::min(m_pos + k, m_tokens.size() - 1)];
    }
    const Token& next() { return m_tokens[std::min(m_pos++, m_tokens.size() - 1)]; }
    std::string_view textOf(const Token& t) const { return m_text.substr(t.Offset, t.Length); }

    [[noreturn]] void missingOperator(const Token& t) {
        fail(Code::E_MISSING_OPERATOR, t.Offset, t.Length,
             "missing operator before " + std::string(tokenText(t.Kind)) + " '" +
                 std::string(textOf(t)) + "'",
             "formulas have no implicit multiplication: write 2 * x");
    }
    [[noreturn]] void expected(const char* what, const Token& t) {
        if (t.Kind == Tok::End)
            fail(Code::E_SYNTAX, t.Offset, 0,
                 std::string("expected ") + what + " before the end of the formula");
        fail(Code::E_SYNTAX, t.Offset, t.Length,
             std::string("expected ") + what + ", found " + tokenText(t.Kind));
    }
    /// The closing token of `open`, or a diagnostic.
    void close(Tok kind, const Token& open) {
        const Token& t = peek();
        if (t.Kind == kind) {
            ++m_pos;
            return;
        }
        if (t.Kind == Tok::End)
            fail(Code::E_UNBALANCED, open.Offset, open.Length,
                 std::string(tokenText(open.Kind)) + " is not closed",
                 std::string("add ") + tokenText(kind));
        if (startsOperand(t.Kind)) missingOperator(t);
        if (t.Kind == Tok::RParen || t.Kind == Tok::RBracket || t.Kind == Tok::RBrace)
            fail(Code::E_UNBALANCED, t.Offset, t.Length,
                 std::string(tokenText(t.Kind)) + " does not match " + tokenText(open.Kind));
        expected(tokenText(kind), t);
    }

    int add(Node n) {
        m_out.Nodes.push_back(std::move(n));
        return static_cast<int>(m_out.Nodes.size()) - 1;
    }
    const Node& node(int i) const { return m_out.Nodes[static_cast<std::size_t>(i)]; }
    std::uint32_t spanEnd(int i) const { return node(i).Offset + node(i).Length; }
    void needBool(int arg, const char* where) {
        if (!node(arg).IsBool)
            fail(Code::E_TYPE, node(arg).Offset, node(arg).Length,
                 std::string(where) + " needs a bool, and this is a number",
                 "a number never becomes bool: compare it, e.g. " +
                     (node(arg).Length < 40
                          ? std::string(m_text.substr(node(arg).Offset, node(arg).Length))
                          : std::string("v")) +
                     " != 0");
    }

    int binaryNode(std::uint8_t code, int a, int b, bool isBool) {
        Node n;
        n.Kind = NodeKind::Operator;
        n.Code = code;
        n.IsBool = isBool;
        n.Args = {a, b};
        n.Offset = node(a).Offset;
        n.Length = spanEnd(b) - n.Offset;
        return add(std::move(n));
    }

    int ternary() {
        const int cond = logicalOr();
        if (peek().Kind != Tok::Question) return cond;
        const Token& q = next();
        needBool(cond, "the condition of ?:");
        int a, b;
        {
            Nest nest(*this, q);
            a = ternary();
        }
        if (peek().Kind != Tok::Colon) {
            if (startsOperand(peek().Kind)) missingOperator(peek());
            expected("':' of ?:", peek());
        }
        const Token& colon = next();
        {
            Nest nest(*this, colon);
            b = ternary();
        }
        Node n;
        n.Kind = NodeKind::If;
        n.Ternary = true;
        n.IsBool = node(a).IsBool && node(b).IsBool;
        n.Args = {cond, a, b};
        n.Offset = node(cond).Offset;
        n.Length = spanEnd(b) - n.Offset;
        return add(std::move(n));
    }

    int logicalOr() {
        int a = logicalAnd();
        while (peek().Kind == Tok::OrOr) {
            ++m_pos;
            const int b = logicalAnd();
            needBool(a, "||");
            needBool(b, "||");
            a = binaryNode(OpT::eOr, a, b, true);
        }
        return a;
    }
    int logicalAnd() {
        int a = equality();
        while (peek().Kind == Tok::AndAnd) {
            ++m_pos;
            const int b = equality();
            needBool(a, "&&");
            needBool(b, "&&");
            a = binaryNode(OpT::eAnd, a, b, true);
        }
        return a;
    }
    int equality() {
        const int a = relation();
        const Tok k = peek().Kind;
        if (k != Tok::EqEq && k != Tok::Ne) return a;
        ++m_pos;
        const int b = relation();
        const int r = binaryNode(k == Tok::EqEq ? OpT::eEqual : OpT::eNotEqual, a, b, true);
        if (peek().Kind == Tok::EqEq || peek().Kind == Tok::Ne)
            fail(Code::E_CHAINED_COMPARISON, node(r).Offset,
                 peek().Offset + peek().Length - node(r).Offset, "comparisons do not chain",
                 "compare two values at a time and join them with &&");
        return r;
    }
    static bool isRelation(Tok k) {
        return k == Tok::Lt || k == Tok::Le || k == Tok::Gt || k == Tok::Ge;
    }
    int relation() {
        const int a = additive();
        const Tok k = peek().Kind;
        if (!isRelation(k)) return a;
        ++m_pos;
        const int b = additive();
        const std::uint8_t code = k == Tok::Lt   ? OpT::eLess
                                  : k == Tok::Le ? OpT::eLessEqual
                                  : k == Tok::Gt ? OpT::eGreater
                                                 : OpT::eGreaterEqual;
        const int r = binaryNode(code, a, b, true);
        if (isRelation(peek().Kind))
            fail(Code::E_CHAINED_COMPARISON, node(r).Offset,
                 peek().Offset + peek().Length - node(r).Offset,
                 "comparisons do not chain: '1 < v < 5' is not a range test",
                 "use inrange(v, lo, hi), or join two comparisons with &&");
        return r;
    }
    int additive() {
        int a = multiplicative();
        while (peek().Kind == Tok::Plus || peek().Kind == Tok::Minus) {
            const bool plus = next().Kind == Tok::Plus;
            const int b = multiplicative();
            a = binaryNode(plus ? OpT::eAdd : OpT::eSubtract, a, b, false);
        }
        return a;
    }
    int multiplicative() {
        int a = unary();
        while (peek().Kind == Tok::Star || peek().Kind == Tok::Slash ||
               peek().Kind == Tok::Percent) {
            const Tok k = next().Kind;
            const int b = unary();
            a = binaryNode(k == Tok::Star    ? OpT::eMultiply
                           : k == Tok::Slash ? OpT::eDivide
                                             : OpT::eModulo,
                           a, b, false);
        }
        return a;
    }
    int unary() {
        const Token& t = peek();
        if (t.Kind != Tok::Minus && t.Kind != Tok::Plus && t.Kind != Tok::Bang) return power();
        ++m_pos;
        int a;
        {
            Nest nest(*this, t);
            a = unary();
        }
        Node n;
        n.Offset = t.Offset;
        n.Length = spanEnd(a) - t.Offset;
        n.Args = {a};
        if (t.Kind == Tok::Bang) {
            needBool(a, "!");
            n.Kind = NodeKind::Operator;
            n.Code = OpT::eNot;
            n.IsBool = true;
        } else if (t.Kind == Tok::Minus) {
            n.Kind = NodeKind::Operator;
            n.Code = OpT::eNegate;
        } else {
            n.Kind = NodeKind::Plus;
        }
        return add(std::move(n));
    }
    int power() {
        const int base = postfix();
        if (peek().Kind != Tok::Caret) return base;
        const Token& caret = next();
        int exponent;
        {
            Nest nest(*this, caret);
            exponent = unary();  // right-associative; the exponent may carry a sign: 2^-1
        }
        return binaryNode(OpT::ePower, base, exponent, false);
    }

    int constant(const Token& t, float value, bool isBool, std::string spelling) {
        Node n;
        n.Kind = NodeKind::Constant;
        n.Value = value;
        n.IsBool = isBool;
        n.Offset = t.Offset;
        n.Length = t.Length;
        n.Spelling = std::move(spelling);
        return add(std::move(n));
    }

    int postfix() {
        const Token& t = peek();
        switch (t.Kind) {
            case Tok::Number: {
                ++m_pos;
                const int r = constant(t, t.Number, false, std::string(textOf(t)));
                if (peek().Kind == Tok::Ident || peek().Kind == Tok::Number ||
                    peek().Kind == Tok::LParen)
                    missingOperator(peek());
                return r;
            }
            case Tok::LParen: {
                ++m_pos;
                if (peek().Kind == Tok::RParen)
                    fail(Code::E_SYNTAX, t.Offset, peek().Offset + 1 - t.Offset,
                         "empty parentheses", "put an expression between them");
                int inner;
                {
                    Nest nest(*this, t);
                    inner = ternary();
                }
                close(Tok::RParen, t);
                return inner;
            }
            case Tok::Ident:
                return name();
            case Tok::End:
                expected("an operand", t);
            default:
                expected("an operand", t);
        }
    }

    int name() {
        const Token& t = next();
        const std::string_view word = textOf(t);
        const bool call = peek().Kind == Tok::LParen;
        const bool bracket = peek().Kind == Tok::LBracket;
        if (call) {
            if (const Function* f = findFunction(word)) return callOf(*f, t);
        }
        // Images.
        if (word.size() == 2 && (word[0] == 'I' || word[0] == 'B' || word[0] == 'L') &&
            isDigit(word[1])) {
            const int index = word[1] - '1';
            const unsigned base = word[0] == 'I'   ? kFirstGreyId
                                  : word[0] == 'B' ? kFirstBinaryId
                                                   : kFirstLabelId;
            if (index < 0 || index > 2)
                fail(Code::E_UNKNOWN_NAME, t.Offset, t.Length,
                     "there is no image " + std::string(word),
                     std::string("images are ") + word[0] + "1, " + word[0] + "2 and " + word[0] +
                         "3");
            if (call)
                fail(Code::E_SYNTAX, peek().Offset, 1, "an image is not a function",
                     "read a neighbour with brackets: " + std::string(word) + "[dx,dy]");
            return read(t, base + static_cast<unsigned>(index));
        }
        if (call) {
            if (isVariable(word))
                fail(Code::E_SYNTAX, peek().Offset, 1,
                     "'" + std::string(word) + "' is not a function");
            fail(Code::E_UNKNOWN_FUNCTION, t.Offset, t.Length,
                 "unknown function '" + std::string(word) + "'", suggest(word, true));
        }
        if (bracket) fail(Code::E_SYNTAX, peek().Offset, 1, "only images are read at offsets");
        if (findFunction(word))
            fail(Code::E_SYNTAX, t.Offset, t.Length,
                 "function '" + std::string(word) + "' needs its arguments",
                 "call it: " + std::string(word) + "(...)");
        return variable(t, word);
    }

    static bool isVariable(std::string_view w) {
        for (const char* n : kNames)
            if (w == n) return true;
        for (const char* n : kMoreNames)
            if (w == n) return true;
        return false;
    }

    int variable(const Token& t, std::string_view word) {
        const bool is3d = m_options.Dimension == eFormulaDimension::e3d;
        auto coordinate = [&](NodeKind kind, std::uint8_t code) {
            Node n;
            n.Kind = kind;
            n.Code = code;
            n.Offset = t.Offset;
            n.Length = t.Length;
            n.Spelling = std::string(word);
            return add(std::move(n));
        };
        if (word == "x") return coordinate(NodeKind::Coordinate, FormulaDynamicConstantInfo::eX);
        if (word == "y") return coordinate(NodeKind::Coordinate, FormulaDynamicConstantInfo::eY);
        if (word == "width")
            return coordinate(NodeKind::ImageSize, FormulaImageConstantInfo::eWidth);
        if (word == "height")
            return coordinate(NodeKind::ImageSize, FormulaImageConstantInfo::eHeight);
        if (word == "z" || word == "depth") {
            if (!is3d)
                fail(Code::E_DIMENSION, t.Offset, t.Length,
                     "'" + std::string(word) + "' exists only in 3d formulas");
            return word == "z" ? coordinate(NodeKind::Coordinate, FormulaDynamicConstantInfo::eZ)
                               : coordinate(NodeKind::ImageSize, FormulaImageConstantInfo::eDepth);
        }
        const float inf = std::numeric_limits<float>::infinity();
        if (word == "true") return constant(t, 1.0f, true, "true");
        if (word == "false") return constant(t, 0.0f, true, "false");
        if (word == "pi") return constant(t, 3.14159265358979f, false, "pi");
        if (word == "e") return constant(t, 2.71828182845905f, false, "e");
        if (word == "inf") return constant(t, inf, false, "inf");
        if (word == "nan")
            return constant(t, std::numeric_limits<float>::quiet_NaN(), false, "nan");
        fail(Code::E_UNKNOWN_NAME, t.Offset, t.Length, "unknown name '" + std::string(word) + "'",
             suggest(word, false));
    }

    /// A signed integer literal inside brackets or braces.
    struct Literal {
        double Value;
        std::uint32_t Offset, Length;
        bool Integral;
    };
    Literal signedLiteral(Code notLiteral, const char* what) {
        const Token& first = peek();
        bool negative = false;
        if (first.Kind == Tok::Minus || first.Kind == Tok::Plus) {
            negative = first.Kind == Tok::Minus;
            ++m_pos;
        }
        const Token& t = peek();
        if (t.Kind != Tok::Number) {
            std::uint32_t end = t.Offset + t.Length;
            // Show the whole offending expression, up to the next separator.
            for (std::size_t k = m_pos; k < m_tokens.size(); ++k) {
                const Tok kind = m_tokens[k].Kind;
                if (kind == Tok::Comma || kind == Tok::RBracket || kind == Tok::Colon ||
                    kind == Tok::RBrace || kind == Tok::End)
                    break;
                end = m_tokens[k].Offset + m_tokens[k].Length;
            }
            fail(notLiteral, first.Offset, std::max(end, first.Offset + 1) - first.Offset,
                 std::string(what) + " must be a number literal");
        }
        ++m_pos;
        // Only plain literals: an operator after one makes an expression.
        const Tok after = peek().Kind;
        if (after != Tok::Comma && after != Tok::RBracket && after != Tok::Colon &&
            after != Tok::RBrace && after != Tok::DotDot && after != Tok::End)
            fail(notLiteral, first.Offset, peek().Offset + peek().Length - first.Offset,
                 std::string(what) + " must be a number literal, not an expression");
        const double wide = exactValue(t);
        const double v = negative ? -wide : wide;
        return {v, first.Offset, t.Offset + t.Length - first.Offset, std::floor(v) == v};
    }

    /// A literal as a double: integers up to 2^53 exactly, for keys and offsets.
    double exactValue(const Token& t) const {
        const std::string_view literal = textOf(t);
        double wide = t.Number;
        if (std::from_chars(literal.data(), literal.data() + literal.size(), wide).ec ==
            std::errc::result_out_of_range)
            wide = atLeastOne(literal) ? 1e300 : 0.0;
        return wide;
    }

    int read(const Token& t, unsigned id) {
        const bool is3d = m_options.Dimension == eFormulaDimension::e3d;
        if (((m_options.BoundImages >> id) & 1u) == 0)
            fail(Code::E_UNBOUND_INPUT, t.Offset, t.Length,
                 "the formula reads " + imageName(id) + " (image " + std::to_string(id) +
                     "), which is not set",
                 "set that input image, or remove " + imageName(id) + " from the formula");
        std::array<int, 3> d{0, 0, 0};
        std::uint32_t end = t.Offset + t.Length;
        if (peek().Kind == Tok::LBracket) {
            const Token& open = next();
            int count = 0;
            while (true) {
                const Literal lit = signedLiteral(Code::E_OFFSET_NOT_LITERAL, "an offset");
                if (!lit.Integral)
                    fail(Code::E_OFFSET_NOT_INTEGER, lit.Offset, lit.Length,
                         "offsets are whole numbers of pixels");
                if (std::fabs(lit.Value) > m_limits.MaxOffset)
                    fail(Code::E_OFFSET_RANGE, lit.Offset, lit.Length,
                         "offset " +
                             std::to_string(
                                 static_cast<long long>(std::clamp(lit.Value, -1e15, 1e15))) +
                             " is beyond the largest, " + std::to_string(m_limits.MaxOffset));
                if (count == 3)
                    fail(Code::E_SYNTAX, lit.Offset, lit.Length,
                         "an offset has at most three components");
                if (count == 2 && !is3d && lit.Value != 0.0)
                    fail(Code::E_DIMENSION, lit.Offset, lit.Length, "a 2d formula has no z offset");
                d[static_cast<std::size_t>(count++)] = static_cast<int>(lit.Value);
                if (peek().Kind == Tok::Comma) {
                    ++m_pos;
                    continue;
                }
                break;
            }
            const std::uint32_t closeAt = peek().Offset;
            close(Tok::RBracket, open);
            if (count < 2)
                fail(Code::E_SYNTAX, open.Offset, closeAt + 1 - open.Offset,
                     "an offset has two components (dx,dy), or three in 3d (dx,dy,dz)");
            end = closeAt + 1;
        }
        if (((m_options.OutputAliases >> id) & 1u) != 0 && (d[0] != 0 || d[1] != 0 || d[2] != 0))
            fail(Code::E_ALIAS_WITH_OFFSETS, t.Offset, end - t.Offset,
                 imageName(id) + " is also the output, so it cannot be read at an offset",
                 "write the result into another image");
        Node n;
        n.Kind = NodeKind::Read;
        n.Read = {static_cast<std::uint8_t>(id), static_cast<std::int8_t>(d[0]),
                  static_cast<std::int8_t>(d[1]), static_cast<std::int8_t>(d[2])};
        n.IsBool = imageKindOf(id) == eFormulaImageKind::eBinary;
        n.Offset = t.Offset;
        n.Length = end - t.Offset;
        return add(std::move(n));
    }

    /// Arguments of a call up to its ')'. `mapAt`: the argument index that is a
    /// map literal (or -1).
    std::vector<int> arguments(const Token& name, const Token& open, int mapAt, int& mapTable) {
        std::vector<int> args;
        if (peek().Kind == Tok::RParen) {
            ++m_pos;
            return args;
        }
        while (true) {
            if (args.size() >= m_limits.MaxArguments)
                fail(Code::E_LIMIT_ARGUMENTS, peek().Offset, peek().Length,
                     "'" + std::string(textOf(name)) + "' has more than " +
                         std::to_string(m_limits.MaxArguments) + " arguments");
            if (static_cast<int>(args.size()) == mapAt) {
                mapTable = mapLiteral();
                args.push_back(-1);
            } else if (peek().Kind == Tok::LBrace) {
                fail(Code::E_SYNTAX, peek().Offset, 1,
                     "a {...} table is only the second argument of map");
            } else {
                args.push_back(ternary());  // the call's own guard counts this level
            }
            if (peek().Kind == Tok::Comma) {
                ++m_pos;
                continue;
            }
            close(Tok::RParen, open);
            return args;
        }
    }

    [[noreturn]] void arity(const Token& name, std::uint32_t end, const std::string& what) {
        fail(Code::E_ARITY, name.Offset, end - name.Offset,
             "'" + std::string(textOf(name)) + "' takes " + what);
    }

    int mapLiteral() {
        const Token& open = peek();
        if (open.Kind != Tok::LBrace) expected("a {key: value, ...} table", open);
        ++m_pos;
        FormulaMapInfo map;
        std::string spelling = "{";
        std::size_t entries = 0;
        auto number = [](double v) {
            char buf[64];
            const auto r = std::to_chars(buf, buf + sizeof buf, static_cast<float>(v));
            return std::string(buf, r.ptr);
        };
        while (peek().Kind != Tok::RBrace) {
            if (++entries > m_limits.MaxMapEntries)
                fail(
                    Code::E_LIMIT_MAP_ENTRIES, peek().Offset, peek().Length,
                    "the map has more than " + std::to_string(m_limits.MaxMapEntries) + " entries");
            const Literal lo = signedLiteral(Code::E_MAP_KEY, "a map key");
            Literal hi = lo;
            if (peek().Kind == Tok::DotDot) {
                ++m_pos;
                hi = signedLiteral(Code::E_MAP_KEY, "a map key");
            }
            const std::uint32_t keyEnd = hi.Offset + hi.Length;
            for (const Literal* k : std::array<const Literal*, 2>{&lo, &hi}) {
                if (!k->Integral)
                    fail(Code::E_MAP_KEY, k->Offset, k->Length, "map keys are whole numbers");
                if (std::fabs(k->Value) > 16777216.0)
                    fail(Code::E_MAP_KEY, k->Offset, k->Length, "map keys lie within -2^24..2^24");
            }
            if (hi.Value < lo.Value)
                fail(Code::E_MAP_KEY, lo.Offset, keyEnd - lo.Offset,
                     "the range of a map key runs backwards", "write the smaller key first");
            if (peek().Kind != Tok::Colon) expected("':' after a map key", peek());
            ++m_pos;
            const Token& vt = peek();
            bool negative = false;
            if (vt.Kind == Tok::Minus || vt.Kind == Tok::Plus) {
                negative = vt.Kind == Tok::Minus;
                ++m_pos;
            }
            float value = 0.0f;
            const Token& lit = next();
            if (lit.Kind == Tok::Number) {
                value = lit.Number;
            } else if (lit.Kind == Tok::Ident && (textOf(lit) == "pi" || textOf(lit) == "e" ||
                                                  textOf(lit) == "inf" || textOf(lit) == "nan")) {
                const std::string_view w = textOf(lit);
                value = w == "pi"    ? 3.14159265358979f
                        : w == "e"   ? 2.71828182845905f
                        : w == "inf" ? std::numeric_limits<float>::infinity()
                                     : std::numeric_limits<float>::quiet_NaN();
            } else {
                fail(Code::E_SYNTAX, lit.Offset, lit.Length, "map values are number literals");
            }
            if (negative) value = -value;
            FormulaMapEntry e{static_cast<std::int32_t>(lo.Value),
                              static_cast<std::int32_t>(hi.Value), value};
            // Keys must not repeat or overlap.
            auto it = std::lower_bound(
                map.Entries.begin(), map.Entries.end(), e,
                [](const FormulaMapEntry& a, const FormulaMapEntry& b) { return a.Lo < b.Lo; });
            const bool overlapsNext = it != map.Entries.end() && it->Lo <= e.Hi;
            const bool overlapsPrev = it != map.Entries.begin() && std::prev(it)->Hi >= e.Lo;
            if (overlapsNext || overlapsPrev)
                fail(Code::E_MAP_KEY, lo.Offset, keyEnd - lo.Offset, "this map key is already used",
                     "each key may appear once, and ranges must not overlap");
            map.Entries.insert(it, e);
            if (spelling.size() > 1) spelling += ", ";
            spelling += std::to_string(e.Lo);
            if (e.Hi != e.Lo) spelling += ".." + std::to_string(e.Hi);
            spelling +=
                ": " + (lit.Kind == Tok::Number ? number(value)
                                                : (negative ? "-" : "") + std::string(textOf(lit)));
            if (peek().Kind == Tok::Comma) {
                ++m_pos;
                continue;
            }
            if (peek().Kind != Tok::RBrace) close(Tok::RBrace, open);
        }
        ++m_pos;
        m_out.Maps.push_back(std::move(map));
        m_out.MapSpellings.push_back(spelling + "}");
        return static_cast<int>(m_out.Maps.size()) - 1;
    }

    int callOf(const Function& f, const Token& name) {
        const Token& open = next();
        int mapTable = -1;
        std::vector<int> args;
        {
            Nest nest(*this, open);
            args = arguments(name, open, f.Kind == FnKind::Map ? 1 : -1, mapTable);
        }
        const std::uint32_t end = m_tokens[m_pos - 1].Offset + 1;
        const std::size_t n = args.size();
        Node out;
        out.Offset = name.Offset;
        out.Length = end - name.Offset;
        out.Spelling = f.Name;
        out.Code = f.Code;
        auto all = [&](auto check) {
            for (int a : args) check(a);
        };
        switch (f.Kind) {
            case FnKind::Unary:
            case FnKind::UnaryBool:
                if (n != 1) arity(name, end, "one argument");
                out.Kind = NodeKind::Unary;
                out.IsBool = f.Kind == FnKind::UnaryBool;
                break;
            case FnKind::Binary:
                if (n != 2) arity(name, end, "two arguments");
                out.Kind = NodeKind::Binary;
                break;
            case FnKind::Generic:
                out.Kind = NodeKind::Generic;
                if (f.Code == GenT::eMin || f.Code == GenT::eMax) {
                    if (n < 2)
                        fail(Code::E_ARITY, name.Offset, end - name.Offset,
                             "'" + std::string(f.Name) + "' takes two or more arguments",
                             "formulas have no whole-image reductions: min and max compare values "
                             "per pixel");
                } else if (n < 1) {
                    arity(name, end, "one or more arguments");
                }
                if (f.Code == GenT::eAny || f.Code == GenT::eAll || f.Code == GenT::eCount) {
                    all([&](int a) { needBool(a, f.Name); });
                    out.IsBool = f.Code != GenT::eCount;
                }
                break;
            case FnKind::Coupled:
                out.Kind = NodeKind::Coupled;
                if (f.Code == CplT::ePiecewise) return piecewise(name, end, args, std::move(out));
                if (n != 3) arity(name, end, "three arguments");
                out.IsBool = f.Code == CplT::eInRange;
                break;
            case FnKind::Map:
                if (n < 2 || n > 3)
                    arity(name, end, "a value, a {key: value} table and an optional default");
                out.Kind = NodeKind::Map;
                out.Table = mapTable;
                args.erase(args.begin() + 1);
                break;
            case FnKind::If:
                if (n != 3) arity(name, end, "three arguments: a condition and two values");
                needBool(args[0], "the condition of if");
                out.Kind = NodeKind::If;
                out.IsBool = node(args[1]).IsBool && node(args[2]).IsBool;
                break;
        }
        out.Args = std::move(args);
        return add(std::move(out));
    }

    /// piecewise(v, x0,y0, x1,y1, ...): the breakpoints and values are constants.
    int piecewise(const Token& name, std::uint32_t end, const std::vector<int>& args, Node out) {
        if (args.size() < 3 || args.size() % 2 == 0)
            arity(name, end, "a value and one or more pairs x, y");
        FormulaCoupledArithmeticFunctionInfo table;
        table.Function = CplT::ePiecewise;
        for (std::size_t k = 1; k < args.size(); ++k) {
            float v = 0.0f;
            if (!constantValue(args[k], v))
                fail(Code::E_TYPE, node(args[k]).Offset, node(args[k]).Length,
                     "the points of piecewise are number literals");
            (k % 2 == 1 ? table.Xs : table.Ys).push_back(v);
        }
        for (std::size_t k = 0; k < table.Xs.size(); ++k) {
            const int arg = args[1 + 2 * k];
            if (table.Xs[k] != table.Xs[k] || (k > 0 && !(table.Xs[k] > table.Xs[k - 1])))
                fail(Code::E_MAP_KEY, node(arg).Offset, node(arg).Length,
                     "the x of piecewise must increase from point to point");
        }
        out.Args = {args[0]};
        out.Table = static_cast<int>(m_out.Piecewise.size());
        m_out.Piecewise.push_back(std::move(table));
        return add(std::move(out));
    }

    /// A literal, a named constant, or either with signs in front.
    bool constantValue(int i, float& v) const {
        const Node& n = node(i);
        if (n.Kind == NodeKind::Constant && !n.IsBool) {
            v = n.Value;
            return true;
        }
        if ((n.Kind == NodeKind::Operator && n.Code == OpT::eNegate) || n.Kind == NodeKind::Plus) {
            if (!constantValue(n.Args[0], v)) return false;
            if (n.Kind == NodeKind::Operator) v = -v;
            return true;
        }
        return false;
    }

    std::string_view m_text;
    std::vector<Token> m_tokens;
    const FormulaCompileOptions& m_options;
    FormulaLimits m_limits;
    std::size_t m_pos = 0;
    std::uint32_t m_depth = 0;
    Parsed m_out;
};

}  // namespace

Parsed parse(std::string_view text, const FormulaCompileOptions& options,
             const FormulaLimits& limits) {
    Parser parser(text, tokenize(text, limits), options, limits);
    return parser.run();
}

namespace {

std::string readName(const FormulaImageWithOffsetInfo& r, eFormulaDimension dimension) {
    std::string s = imageName(r.ImageId);
    if (r.Dx == 0 && r.Dy == 0 && r.Dz == 0) return s;
    s += "[" + std::to_string(r.Dx) + "," + std::to_string(r.Dy);
    if (dimension == eFormulaDimension::e3d) s += "," + std::to_string(r.Dz);
    return s + "]";
}

void appendNormal(const Parsed& p, int i, eFormulaDimension dim, std::string& out) {
    const Node& n = p.Nodes[static_cast<std::size_t>(i)];
    auto args = [&](std::size_t from) {
        for (std::size_t k = from; k < n.Args.size(); ++k) {
            if (k > from) out += ", ";
            appendNormal(p, n.Args[k], dim, out);
        }
    };
    switch (n.Kind) {
        case NodeKind::Constant:
        case NodeKind::Coordinate:
        case NodeKind::ImageSize:
            out += n.Spelling;
            return;
        case NodeKind::Read:
            out += readName(n.Read, dim);
            return;
        case NodeKind::Plus:
            out += "+";
            appendNormal(p, n.Args[0], dim, out);
            return;
        case NodeKind::Operator:
            if (n.Args.size() == 1) {
                out += operatorSpelling(n.Code);
                const Node& a = p.Nodes[static_cast<std::size_t>(n.Args[0])];
                // Binary operators and ?: bring their own parentheses.
                const bool atomic = !(a.Kind == NodeKind::Plus ||
                                      (a.Kind == NodeKind::Operator && a.Args.size() == 1));
                if (!atomic) out += "(";
                appendNormal(p, n.Args[0], dim, out);
                if (!atomic) out += ")";
                return;
            }
            out += "(";
            appendNormal(p, n.Args[0], dim, out);
            out += n.Code == OpT::ePower ? "^" : std::string(" ") + operatorSpelling(n.Code) + " ";
            appendNormal(p, n.Args[1], dim, out);
            out += ")";
            return;
        case NodeKind::If:
            if (n.Ternary) {
                out += "(";
                appendNormal(p, n.Args[0], dim, out);
                out += " ? ";
                appendNormal(p, n.Args[1], dim, out);
                out += " : ";
                appendNormal(p, n.Args[2], dim, out);
                out += ")";
                return;
            }
            [[fallthrough]];
        case NodeKind::Unary:
        case NodeKind::Binary:
        case NodeKind::Generic:
        case NodeKind::Coupled:
            out += n.Spelling + "(";
            args(0);
            if (n.Kind == NodeKind::Coupled && n.Table >= 0) {
                const auto& t = p.Piecewise[static_cast<std::size_t>(n.Table)];
                for (std::size_t k = 0; k < t.Xs.size(); ++k) {
                    char buf[96];
                    auto r = std::to_chars(buf, buf + 40, t.Xs[k]);
                    out += ", " + std::string(buf, r.ptr);
                    r = std::to_chars(buf, buf + 40, t.Ys[k]);
                    out += ", " + std::string(buf, r.ptr);
                }
            }
            out += ")";
            return;
        case NodeKind::Map:
            out += "map(";
            appendNormal(p, n.Args[0], dim, out);
            out += ", " + p.MapSpellings[static_cast<std::size_t>(n.Table)];
            if (n.Args.size() > 1) {
                out += ", ";
                appendNormal(p, n.Args[1], dim, out);
            }
            out += ")";
            return;
    }
}

}  // namespace

std::string normalForm(const Parsed& parsed, int node, eFormulaDimension dimension) {
    std::string out;
    appendNormal(parsed, node, dimension, out);
    return out;
}

}  // namespace vimra::formula::detail

namespace vimra::formula {

std::string imageName(unsigned id) {
    if (id >= kImageCount) return "image " + std::to_string(id);
    const char kind = id < kFirstBinaryId ? 'I' : id < kFirstLabelId ? 'B' : 'L';
    return std::string(1, kind) + std::to_string(id % 3 + 1);
}

}  // namespace vimra::formula
