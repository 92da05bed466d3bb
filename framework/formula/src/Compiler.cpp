// From the typed tree to the item list: constant folding with the evaluator's
// own routines, merging of identical reads and sub-expressions, and a linear
// register program with as few temporaries as the expression allows.

#include "Kernels.h"
#include "Parser.h"

#include <vimra/formula/ImageFormulaManager.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <memory>

namespace vimra::formula {

namespace detail {

Op opOf(eFormulaItemKind kind, std::uint8_t code) {
    using O = eImageFormulaOperatorType;
    switch (kind) {
        case eFormulaItemKind::eOperator: {
            static constexpr std::array<Op, 16> ops = {
                Op::Add, Op::Sub, Op::Mul, Op::Div, Op::Mod, Op::Pow, Op::Lt,  Op::Le,
                Op::Gt,  Op::Ge,  Op::Eq,  Op::Ne,  Op::And, Op::Or,  Op::Neg, Op::Not};
            static_assert(O::eNot == 15);
            return ops[code];
        }
        case eFormulaItemKind::eUnaryFunction:
            static_assert(static_cast<int>(Op::ToBool) - static_cast<int>(Op::Abs) ==
                          eImageFormulaUnaryArithmeticFunctionType::eBool);
            return static_cast<Op>(static_cast<int>(Op::Abs) + code);
        case eFormulaItemKind::eBinaryFunction: {
            static constexpr std::array<Op, 6> ops = {Op::Pow,  Op::Atan2, Op::Hypot,
                                                      Op::Fmod, Op::Min,   Op::Max};
            return ops[code];
        }
        case eFormulaItemKind::eGenericFunction: {
            static constexpr std::array<Op, 7> ops = {Op::Min, Op::Max, Op::Add, Op::Add,
                                                      Op::Or,  Op::And, Op::Add};
            return ops[code];
        }
        case eFormulaItemKind::eCoupledFunction: {
            static constexpr std::array<Op, 3> ops = {Op::Clamp, Op::Lerp, Op::InRange};
            return ops[std::min<std::size_t>(code, 2)];
        }
        default:
            return Op::Select;
    }
}

namespace {

FormulaDiagnostic makeDiagnostic(std::string_view text, const CompileError& e) {
    FormulaDiagnostic d;
    d.Code = e.Code;
    d.Message = e.Message;
    d.Hint = e.Hint;
    const auto size = static_cast<std::uint32_t>(text.size());
    d.Offset = std::min(e.Offset, size);
    d.Length = std::min(e.Length, size - d.Offset);
    std::uint32_t lineStart = 0;
    d.Line = 1;
    for (std::uint32_t i = 0; i < d.Offset; ++i)
        if (text[i] == '\n') {
            ++d.Line;
            lineStart = i + 1;
        }
    d.Column = d.Offset - lineStart + 1;
    std::uint32_t lineEnd = lineStart;
    while (lineEnd < size && text[lineEnd] != '\n') ++lineEnd;
    for (std::uint32_t i = lineStart; i < lineEnd; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        d.SourceLine += c == '\t' || (c >= 0x20 && c < 0x7f) ? static_cast<char>(c) : '?';
    }
    for (std::uint32_t i = lineStart; i < d.Offset; ++i)
        d.CaretLine += text[i] == '\t' ? '\t' : ' ';
    const std::uint32_t carets = std::max<std::uint32_t>(1, std::min(d.Length, lineEnd - d.Offset));
    d.CaretLine.append(carets, '^');
    return d;
}

/// A node of the merged expression: what becomes one item.
struct DNode {
    eFormulaItemKind Kind = eFormulaItemKind::eFloatConstant;
    std::uint8_t Code = 0;
    float Value = 0.0f;
    int Read = -1;
    int Table = -1;
    std::vector<int> Args;
    bool isConstant() const {
        return Kind == eFormulaItemKind::eFloatConstant || Kind == eFormulaItemKind::eBoolConstant;
    }
    bool isStatic() const { return isConstant() || Kind == eFormulaItemKind::eImageConstant; }
};

/// What lowering produces, copied into the manager.
struct LoweredProgram {
    FormulaItemColl m_items;
    std::size_t m_firstPerPixelItem = 0;
    std::vector<FormulaImageWithOffsetInfo> m_reads;
    FormulaHalo m_halo;
    std::size_t m_registerCount = 0, m_temporaryCount = 0, m_nodeCount = 0;
    std::uint16_t m_resultRegister = 0;
    unsigned m_coordinates = 0;
};

class Lowering {
  public:
    Lowering(const Parsed& parsed, const FormulaLimits& limits, std::string_view text)
        : m_parsed(parsed), m_limits(limits), m_text(text) {
        // A parse node adds at most three nodes (mean: the sum, its count, the division).
        std::size_t slots = 16;
        while (slots < 8 * parsed.Nodes.size() + 16) slots *= 2;
        m_slots.assign(slots, -1);
        m_nodes.reserve(3 * parsed.Nodes.size() + 4);
    }

    void run(LoweredProgram& m);

  private:
    using Code = eFormulaDiagnosticCode;
    [[noreturn]] void failWhole(Code code, std::string message, std::string hint) {
        throw CompileError{code, std::move(message), 0, static_cast<std::uint32_t>(m_text.size()),
                           std::move(hint)};
    }

    static std::uint64_t hashOf(const DNode& n) {
        std::uint64_t h = 1469598103934665603ull;
        auto mix = [&](std::uint64_t v) { h = (h ^ v) * 1099511628211ull; };
        mix(static_cast<std::uint64_t>(n.Kind) << 8 | n.Code);
        mix(std::bit_cast<std::uint32_t>(n.Value));
        mix(static_cast<std::uint32_t>(n.Read) ^
            (static_cast<std::uint64_t>(static_cast<std::uint32_t>(n.Table)) << 32));
        for (int a : n.Args) mix(static_cast<std::uint32_t>(a));
        return h ^ (h >> 29);
    }
    static bool same(const DNode& a, const DNode& b) {
        return a.Kind == b.Kind && a.Code == b.Code &&
               std::bit_cast<std::uint32_t>(a.Value) == std::bit_cast<std::uint32_t>(b.Value) &&
               a.Read == b.Read && a.Table == b.Table && a.Args == b.Args;
    }
    /// The node's index, adding it unless an identical one exists (open addressing;
    /// the table never fills: it has more than twice as many slots as there can be nodes).
    int intern(DNode n) {
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = hashOf(n) & mask;; i = (i + 1) & mask) {
            const int id = m_slots[i];
            if (id < 0) {
                m_slots[i] = static_cast<int>(m_nodes.size());
                m_nodes.push_back(std::move(n));
                return m_slots[i];
            }
            if (same(m_nodes[static_cast<std::size_t>(id)], n)) return id;
        }
    }
    int constant(float v, bool isBool) {
        DNode n;
        n.Kind = isBool ? eFormulaItemKind::eBoolConstant : eFormulaItemKind::eFloatConstant;
        n.Value = v;
        return intern(std::move(n));
    }
    const DNode& dn(int i) const { return m_nodes[static_cast<std::size_t>(i)]; }

    /// The value of a node whose arguments are all constants, computed by the
    /// portable evaluator so that folding gives the bits a run would.
    float fold(const DNode& n) const {
        const KernelTable& k = portableKernels();
        std::array<float, 3> a{};
        for (std::size_t i = 0; i < n.Args.size() && i < 3; ++i) a[i] = dn(n.Args[i]).Value;
        float d = 0.0f;
        switch (n.Kind) {
            case eFormulaItemKind::eGenericFunction: {
                const Op op = opOf(n.Kind, n.Code);
                d = dn(n.Args[0]).Value;
                for (std::size_t i = 1; i < n.Args.size(); ++i) {
                    const float b = dn(n.Args[i]).Value;
                    k.binary(op, &d, &d, &b, 1);
                }
                return d;
            }
            case eFormulaItemKind::eMap:
                mapBlock(m_parsed.Maps[static_cast<std::size_t>(n.Table)], &d, &a[0], &a[1], 1);
                return d;
            case eFormulaItemKind::eCoupledFunction:
                if (n.Code == FormulaCoupledArithmeticFunctionInfo::ePiecewise) {
                    piecewiseBlock(m_parsed.Piecewise[static_cast<std::size_t>(n.Table)], &d, &a[0],
                                   1);
                    return d;
                }
                [[fallthrough]];
            default:
                break;
        }
        const Op op = opOf(n.Kind, n.Code);
        switch (arityOf(op)) {
            case 1:
                k.unary(op, &d, &a[0], 1);
                break;
            case 2:
                k.binary(op, &d, &a[0], &a[1], 1);
                break;
            default:
                k.ternary(op, &d, &a[0], &a[1], &a[2], 1);
                break;
        }
        return d;
    }

    int make(eFormulaItemKind kind, std::uint8_t code, std::vector<int> args, bool resultBool,
             int table = -1) {
        DNode n;
        n.Kind = kind;
        n.Code = code;
        n.Args = std::move(args);
        n.Table = table;
        // x^2 is x*x exactly; other powers keep pow.
        const bool isPow =
            (kind == eFormulaItemKind::eOperator && code == eImageFormulaOperatorType::ePower) ||
            (kind == eFormulaItemKind::eBinaryFunction &&
             code == eImageFormulaBinaryArithmeticFunctionType::ePow);
        if (isPow && dn(n.Args[1]).isConstant() && dn(n.Args[1]).Value == 2.0f) {
            n.Kind = eFormulaItemKind::eOperator;
            n.Code = eImageFormulaOperatorType::eMultiply;
            n.Args[1] = n.Args[0];
        }
        // if(c, a, b) with a constant condition is one of its branches.
        if (kind == eFormulaItemKind::eTernaryLogicFunction && dn(n.Args[0]).isConstant())
            return dn(n.Args[0]).Value != 0.0f ? n.Args[1] : n.Args[2];
        if (std::all_of(n.Args.begin(), n.Args.end(), [&](int a) { return dn(a).isConstant(); }))
            return constant(fold(n), resultBool);
        if (isCommutative(n)) std::sort(n.Args.begin(), n.Args.end());
        return intern(std::move(n));
    }
    static bool isCommutative(const DNode& n) {
        using O = eImageFormulaOperatorType;
        using B = eImageFormulaBinaryArithmeticFunctionType;
        if (n.Kind == eFormulaItemKind::eOperator)
            return n.Args.size() == 2 &&
                   (n.Code == O::eAdd || n.Code == O::eMultiply || n.Code == O::eEqual ||
                    n.Code == O::eNotEqual || n.Code == O::eAnd || n.Code == O::eOr);
        if (n.Kind == eFormulaItemKind::eBinaryFunction)
            return n.Code == B::eMin || n.Code == B::eMax || n.Code == B::eHypot;
        return false;
    }

    int lower(int p, const std::vector<int>& done);

    const Parsed& m_parsed;
    FormulaLimits m_limits;
    std::string_view m_text;
    std::vector<DNode> m_nodes;
    std::vector<int> m_slots;
    std::vector<FormulaImageWithOffsetInfo> m_reads;
};

int Lowering::lower(int p, const std::vector<int>& done) {
    const Node& n = m_parsed.Nodes[static_cast<std::size_t>(p)];
    std::vector<int> args;
    for (int a : n.Args) args.push_back(done[static_cast<std::size_t>(a)]);
    switch (n.Kind) {
        case NodeKind::Constant:
            return constant(n.Value, n.IsBool);
        case NodeKind::Coordinate:
        case NodeKind::ImageSize: {
            DNode d;
            d.Kind = n.Kind == NodeKind::Coordinate ? eFormulaItemKind::eDynamicConstant
                                                    : eFormulaItemKind::eImageConstant;
            d.Code = n.Code;
            return intern(std::move(d));
        }
        case NodeKind::Read: {
            auto it = std::find(m_reads.begin(), m_reads.end(), n.Read);
            if (it == m_reads.end()) {
                m_reads.push_back(n.Read);
                it = m_reads.end() - 1;
            }
            DNode d;
            d.Kind = eFormulaItemKind::eImageWithOffset;
            d.Read = static_cast<int>(it - m_reads.begin());
            return intern(std::move(d));
        }
        case NodeKind::Plus:
            return args[0];
        case NodeKind::Operator:
            return make(eFormulaItemKind::eOperator, n.Code, std::move(args), n.IsBool);
        case NodeKind::Unary:
            return make(eFormulaItemKind::eUnaryFunction, n.Code, std::move(args), n.IsBool);
        case NodeKind::Binary:
            return make(eFormulaItemKind::eBinaryFunction, n.Code, std::move(args), n.IsBool);
        case NodeKind::Generic: {
            using G = FormulaGenericArithmeticFunctionInfo;
            if (args.size() == 1 && n.Code != G::eMean) return args[0];
            if (args.size() == 2 && (n.Code == G::eMin || n.Code == G::eMax))
                return make(eFormulaItemKind::eBinaryFunction,
                            n.Code == G::eMin ? eImageFormulaBinaryArithmeticFunctionType::eMin
                                              : eImageFormulaBinaryArithmeticFunctionType::eMax,
                            std::move(args), false);
            if (n.Code == G::eMean) {
                // mean is the sum divided by the count.
                const float count = static_cast<float>(args.size());
                const int sum = args.size() == 1 ? args[0]
                                                 : make(eFormulaItemKind::eGenericFunction, G::eSum,
                                                        std::move(args), false);
                return make(eFormulaItemKind::eOperator, eImageFormulaOperatorType::eDivide,
                            {sum, constant(count, false)}, false);
            }
            return make(eFormulaItemKind::eGenericFunction, n.Code, std::move(args), n.IsBool);
        }
        case NodeKind::Coupled:
            return make(eFormulaItemKind::eCoupledFunction, n.Code, std::move(args), n.IsBool,
                        n.Table);
        case NodeKind::Map:
            if (args.size() == 1) args.push_back(constant(0.0f, false));
            return make(eFormulaItemKind::eMap, 0, std::move(args), false, n.Table);
        case NodeKind::If:
            return make(eFormulaItemKind::eTernaryLogicFunction,
                        eImageFormulaTernaryLogicFunctionType::eIf, std::move(args), n.IsBool);
    }
    return -1;
}

void Lowering::run(LoweredProgram& m) {
    // Children precede parents in the parse tree, so one pass in order lowers it.
    std::vector<int> done(m_parsed.Nodes.size(), -1);
    for (std::size_t i = 0; i < m_parsed.Nodes.size(); ++i)
        done[i] = lower(static_cast<int>(i), done);
    const int root = done[static_cast<std::size_t>(m_parsed.Root)];

    // What the result depends on: folding leaves unused nodes behind.
    std::vector<char> live(m_nodes.size(), 0);
    live[static_cast<std::size_t>(root)] = 1;
    for (int i = root; i >= 0; --i)
        if (live[static_cast<std::size_t>(i)])
            for (int a : dn(i).Args) live[static_cast<std::size_t>(a)] = 1;
    std::size_t nodeCount = 0, readCount = 0;
    for (std::size_t i = 0; i < m_nodes.size(); ++i)
        if (live[i]) {
            ++nodeCount;
            if (m_nodes[i].Kind == eFormulaItemKind::eImageWithOffset) ++readCount;
        }
    if (nodeCount > m_limits.MaxNodes)
        failWhole(Code::E_LIMIT_NODES,
                  "the formula has " + std::to_string(nodeCount) +
                      " nodes after merging, more than " + std::to_string(m_limits.MaxNodes),
                  "split the computation into several formulas");
    if (readCount > m_limits.MaxReads)
        failWhole(Code::E_LIMIT_READS,
                  "the formula reads " + std::to_string(readCount) +
                      " distinct (image, offset) pairs, more than " +
                      std::to_string(m_limits.MaxReads),
                  "");

    // Registers: the reads (by read index), then the constants, then temporaries.
    std::vector<int> readOfNode(m_nodes.size(), -1);
    std::vector<FormulaImageWithOffsetInfo> reads;
    for (std::size_t i = 0; i < m_nodes.size(); ++i)
        if (live[i] && m_nodes[i].Kind == eFormulaItemKind::eImageWithOffset) {
            readOfNode[i] = static_cast<int>(reads.size());
            reads.push_back(m_reads[static_cast<std::size_t>(m_nodes[i].Read)]);
        }
    std::vector<int> reg(m_nodes.size(), -1);
    std::size_t next = reads.size();
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
        if (!live[i]) continue;
        if (readOfNode[i] >= 0)
            reg[i] = readOfNode[i];
        else if (m_nodes[i].isStatic())
            reg[i] = static_cast<int>(next++);
    }
    const std::size_t firstTemp = next;

    // Temporaries: a register is free again after the last item that reads it.
    std::vector<int> lastUse(m_nodes.size(), -1);
    for (std::size_t i = 0; i < m_nodes.size(); ++i)
        if (live[i])
            for (int a : m_nodes[i].Args)
                lastUse[static_cast<std::size_t>(a)] = static_cast<int>(i);
    lastUse[static_cast<std::size_t>(root)] = INT_MAX;
    std::vector<int> freeRegs;  // kept sorted descending: the smallest is at the back
    std::size_t temps = 0;
    auto item = [&](std::size_t i) {
        const DNode& n = m_nodes[i];
        FormulaItem it;
        it.Kind = n.Kind;
        it.Code = n.Code;
        it.Value = n.Value;
        it.Result = static_cast<std::uint16_t>(reg[i]);
        for (int a : n.Args)
            it.Args.push_back(static_cast<std::uint16_t>(reg[static_cast<std::size_t>(a)]));
        if (n.Kind == eFormulaItemKind::eImageWithOffset)
            it.Read = static_cast<std::uint16_t>(readOfNode[i]);
        if (n.Kind == eFormulaItemKind::eGenericFunction)
            it.Generic.Function = static_cast<FormulaGenericArithmeticFunctionInfo::domain>(n.Code);
        if (n.Kind == eFormulaItemKind::eCoupledFunction) {
            if (n.Table >= 0) it.Coupled = m_parsed.Piecewise[static_cast<std::size_t>(n.Table)];
            it.Coupled.Function = static_cast<FormulaCoupledArithmeticFunctionInfo::domain>(n.Code);
        }
        if (n.Kind == eFormulaItemKind::eMap)
            it.Map = m_parsed.Maps[static_cast<std::size_t>(n.Table)];
        return it;
    };
    m.m_items.reserve(nodeCount);
    for (std::size_t i = 0; i < m_nodes.size(); ++i)
        if (live[i] && m_nodes[i].isStatic()) m.m_items.push_back(item(i));
    m.m_firstPerPixelItem = m.m_items.size();
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
        if (!live[i] || m_nodes[i].isStatic()) continue;
        if (reg[i] < 0) {
            // The result never shares a register with an argument.
            if (freeRegs.empty()) {
                reg[i] = static_cast<int>(firstTemp + temps++);
                if (temps > m_limits.MaxTemporaries)
                    failWhole(Code::E_LIMIT_TEMPORARIES,
                              "the formula needs more than " +
                                  std::to_string(m_limits.MaxTemporaries) + " temporaries",
                              "split the computation into several formulas");
            } else {
                reg[i] = freeRegs.back();
                freeRegs.pop_back();
            }
        }
        m.m_items.push_back(item(i));
        if (m_nodes[i].Kind == eFormulaItemKind::eDynamicConstant)
            m.m_coordinates |= 1u << m_nodes[i].Code;
        for (int a : m_nodes[i].Args) {
            const auto au = static_cast<std::size_t>(a);
            if (lastUse[au] == static_cast<int>(i) && reg[au] >= static_cast<int>(firstTemp) &&
                std::find(freeRegs.begin(), freeRegs.end(), reg[au]) == freeRegs.end()) {
                freeRegs.push_back(reg[au]);
                std::sort(freeRegs.begin(), freeRegs.end(), std::greater<>());
            }
        }
    }
    m.m_reads = std::move(reads);
    for (const auto& r : m.m_reads) {
        const std::array<int, 3> d{r.Dx, r.Dy, r.Dz};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m.m_halo.Before[axis] = std::max(m.m_halo.Before[axis], -d[axis]);
            m.m_halo.After[axis] = std::max(m.m_halo.After[axis], d[axis]);
        }
    }
    m.m_registerCount = firstTemp + temps;
    m.m_temporaryCount = temps;
    m.m_resultRegister = static_cast<std::uint16_t>(reg[static_cast<std::size_t>(root)]);
    m.m_nodeCount = nodeCount;
}

}  // namespace

}  // namespace detail

class FormulaCompiler {
  public:
    static FormulaCompileResult compile(std::string_view text, const FormulaCompileOptions& options,
                                        detail::Parsed* keep) {
        FormulaCompileResult result;
        const FormulaLimits limits = detail::effectiveLimits(options.Limits);
        try {
            if (text.size() > limits.MaxLength)
                throw detail::CompileError{
                    eFormulaDiagnosticCode::E_LIMIT_LENGTH,
                    "the formula is " + std::to_string(text.size()) + " bytes long, more than " +
                        std::to_string(limits.MaxLength),
                    limits.MaxLength, static_cast<std::uint32_t>(text.size()) - limits.MaxLength,
                    ""};
            detail::Parsed parsed = detail::parse(text, options, limits);
            const detail::Node& root = parsed.Nodes[static_cast<std::size_t>(parsed.Root)];
            const bool logical = root.IsBool;
            if ((options.RequiredResult == eFormulaResultKind::eLogical && !logical) ||
                (options.RequiredResult == eFormulaResultKind::eNumeric && logical))
                throw detail::CompileError{
                    eFormulaDiagnosticCode::E_RESULT_KIND,
                    logical ? "the formula gives a bool, and a number is required"
                            : "the formula gives a number, and a bool is required",
                    root.Offset, root.Length,
                    logical ? std::string("turn it into a number with if(..., 1, 0)")
                            : std::string("compare the value, e.g. ... != 0")};
            auto m = std::make_shared<ImageFormulaManager>();
            m->m_formula = std::string(text);
            m->m_dimension = options.Dimension;
            m->m_resultType =
                logical ? eImageFormulaResultType::eLogical : eImageFormulaResultType::eNumeric;
            for (const auto& n : parsed.Nodes)
                if (n.Kind == detail::NodeKind::Read) m->m_imageIds.insert(n.Read.ImageId);
            m->m_normalForm = detail::normalForm(parsed, parsed.Root, options.Dimension);
            detail::LoweredProgram p;
            detail::Lowering(parsed, limits, text).run(p);
            m->m_items = std::move(p.m_items);
            m->m_firstPerPixelItem = p.m_firstPerPixelItem;
            m->m_reads = std::move(p.m_reads);
            m->m_halo = p.m_halo;
            m->m_registerCount = p.m_registerCount;
            m->m_temporaryCount = p.m_temporaryCount;
            m->m_nodeCount = p.m_nodeCount;
            m->m_resultRegister = p.m_resultRegister;
            m->m_coordinates = p.m_coordinates;
            result.Manager = std::move(m);
            if (keep) *keep = std::move(parsed);
        } catch (const detail::CompileError& e) {
            result.Diagnostics.push_back(detail::makeDiagnostic(text, e));
        }
        return result;
    }
};

FormulaCompileResult compileFormula(std::string_view formula,
                                    const FormulaCompileOptions& options) {
    return FormulaCompiler::compile(formula, options, nullptr);
}

FormulaExplanation explainFormula(std::string_view formula, const FormulaCompileOptions& options) {
    FormulaExplanation e;
    const FormulaCompileResult r = compileFormula(formula, options);
    e.Diagnostics = r.Diagnostics;
    if (!r.ok()) {
        e.Text = formatDiagnostics(r.Diagnostics);
        return e;
    }
    const ImageFormulaManager& m = *r.Manager;
    e.Valid = true;
    e.NormalForm = m.getNormalForm();
    e.ResultType = m.getResultType();
    e.ImageIds = m.getImageIdSet();
    e.Halo = m.getHalo();
    e.NodeCount = m.getNodeCount();
    std::string images;
    for (unsigned id : e.ImageIds) {
        if (!images.empty()) images += ' ';
        images += imageName(id);
    }
    static constexpr std::array<const char*, 3> axes = {"x", "y", "z"};
    std::string halo;
    const std::size_t axisCount = m.getDimension() == eFormulaDimension::e3d ? 3 : 2;
    for (std::size_t a = 0; a < axisCount; ++a)
        halo += std::string(a ? ", " : "") + axes[a] + " -" + std::to_string(e.Halo.Before[a]) +
                " +" + std::to_string(e.Halo.After[a]);
    e.Text = "formula: " + e.NormalForm + "\nresult: " +
             (e.ResultType == eImageFormulaResultType::eLogical ? "bool (logical, result type 0)"
                                                                : "num (numeric, result type 1)") +
             "\nimages: " + (images.empty() ? "none" : images) + "\nhalo: " + halo +
             "\nnodes: " + std::to_string(e.NodeCount) + "\n";
    return e;
}

const char* diagnosticCodeName(eFormulaDiagnosticCode code) {
    static constexpr std::array<const char*, 29> names = {"E_CHAR",
                                                          "E_NUMBER",
                                                          "E_NUM_RANGE",
                                                          "E_SYNTAX",
                                                          "E_UNBALANCED",
                                                          "E_TRAILING",
                                                          "E_EMPTY",
                                                          "E_MISSING_OPERATOR",
                                                          "E_UNKNOWN_NAME",
                                                          "E_UNKNOWN_FUNCTION",
                                                          "E_UNBOUND_INPUT",
                                                          "E_ARITY",
                                                          "E_TYPE",
                                                          "E_CHAINED_COMPARISON",
                                                          "E_OFFSET_NOT_LITERAL",
                                                          "E_OFFSET_NOT_INTEGER",
                                                          "E_OFFSET_RANGE",
                                                          "E_DIMENSION",
                                                          "E_MAP_KEY",
                                                          "E_RESULT_KIND",
                                                          "E_ALIAS_WITH_OFFSETS",
                                                          "E_LIMIT_LENGTH",
                                                          "E_LIMIT_TOKENS",
                                                          "E_LIMIT_NESTING",
                                                          "E_LIMIT_NODES",
                                                          "E_LIMIT_READS",
                                                          "E_LIMIT_ARGUMENTS",
                                                          "E_LIMIT_MAP_ENTRIES",
                                                          "E_LIMIT_TEMPORARIES"};
    const auto i = static_cast<std::size_t>(code);
    return i < names.size() ? names[i] : "E_UNKNOWN";
}

std::string formatDiagnostic(const FormulaDiagnostic& d) {
    std::string s = std::string(diagnosticCodeName(d.Code)) + " (line " + std::to_string(d.Line) +
                    ", column " + std::to_string(d.Column) + "): " + d.Message + "\n  " +
                    d.SourceLine + "\n  " + d.CaretLine + "\n";
    if (!d.Hint.empty()) s += "  hint: " + d.Hint + "\n";
    return s;
}

std::string formatDiagnostics(const std::vector<FormulaDiagnostic>& diagnostics) {
    std::string s;
    for (const auto& d : diagnostics) s += formatDiagnostic(d);
    return s;
}

}  // namespace vimra::formula
