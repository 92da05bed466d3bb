#include <vimra/formula/FormulaAttribute.h>

namespace vimra::formula {

FormulaCompileOptions BaseImageFormulaAttribute::options() const {
    FormulaCompileOptions o;
    o.Dimension = getDimension();
    o.Limits = m_limits;
    return o;
}

void BaseImageFormulaAttribute::compile() {
    m_compiled = m_set ? compileFormula(m_formula, options()) : FormulaCompileResult{};
}

void BaseImageFormulaAttribute::setFormulaStr(std::string formula) {
    m_formula = std::move(formula);
    m_set = true;
    compile();
}

void BaseImageFormulaAttribute::clear() {
    m_formula.clear();
    m_set = false;
    m_compiled = {};
}

void BaseImageFormulaAttribute::setLimits(const FormulaLimits& limits) {
    m_limits = limits;
    compile();
}

FormulaValidation BaseImageFormulaAttribute::validateFormula() const {
    if (!m_set) return {false, "no formula is set"};
    if (m_compiled.ok()) return {true, {}};
    return {false, formatDiagnostics(m_compiled.Diagnostics)};
}

FormulaValidation BaseImageFormulaAttribute::validateFormula(std::uint16_t boundImages,
                                                             eFormulaResultKind required,
                                                             std::uint16_t outputAliases) const {
    if (!m_set) return {false, "no formula is set"};
    FormulaCompileOptions o = options();
    o.BoundImages = boundImages;
    o.RequiredResult = required;
    o.OutputAliases = outputAliases;
    const FormulaCompileResult r = compileFormula(m_formula, o);
    if (r.ok()) return {true, {}};
    return {false, formatDiagnostics(r.Diagnostics)};
}

FormulaExplanation BaseImageFormulaAttribute::explain() const {
    return explainFormula(m_formula, options());
}

}  // namespace vimra::formula
