#pragma once

// The formula attributes of the formula operations: a formula string, compiled
// when it is set, with the validation the output initialiser and the rules ask
// for.

#include <vimra/formula/ImageFormulaManager.h>

#include <string>

namespace vimra::formula {

/// Outcome of a validation: a success flag and, on failure, the diagnostic
/// text (code, position, the formula with a caret, hint).
struct FormulaValidation {
    bool Success = false;
    std::string Diagnostic;
    explicit operator bool() const { return Success; }
};

/// A formula string and its compiled form. Setting the formula compiles it
/// once; the const queries that follow may run on any number of threads.
class BaseImageFormulaAttribute {
  public:
    virtual ~BaseImageFormulaAttribute() = default;

    virtual eFormulaDimension getDimension() const = 0;

    void setFormulaStr(std::string formula);
    const std::string& getFormulaStr() const { return m_formula; }
    bool isSet() const { return m_set; }
    void clear();

    /// Limits below the language's defaults, for applications that want them.
    void setLimits(const FormulaLimits& limits);
    const FormulaLimits& getLimits() const { return m_limits; }

    /// Validation with every image available: syntax, names, types and limits.
    FormulaValidation validateFormula() const;
    /// Validation against the images actually set (bit i: image i), the
    /// result kind required and the images that are also the output.
    FormulaValidation validateFormula(std::uint16_t boundImages, eFormulaResultKind required,
                                      std::uint16_t outputAliases = 0) const;

    /// The compiled formula; null while the formula is unset or invalid.
    ImageFormulaManagerPtr getImageFormulaManager() const { return m_compiled.Manager; }
    /// The diagnostics of the last compilation (empty when it succeeded).
    const std::vector<FormulaDiagnostic>& getDiagnostics() const { return m_compiled.Diagnostics; }

    /// explain() of the formula held.
    FormulaExplanation explain() const;

  protected:
    BaseImageFormulaAttribute() = default;
    BaseImageFormulaAttribute(const BaseImageFormulaAttribute&) = default;
    BaseImageFormulaAttribute& operator=(const BaseImageFormulaAttribute&) = default;

  private:
    FormulaCompileOptions options() const;
    void compile();

    std::string m_formula;
    bool m_set = false;
    FormulaLimits m_limits;
    FormulaCompileResult m_compiled;
};

class ImageFormula2dAttribute : public BaseImageFormulaAttribute {
  public:
    eFormulaDimension getDimension() const override { return eFormulaDimension::e2d; }
};

class ImageFormula3dAttribute : public BaseImageFormulaAttribute {
  public:
    eFormulaDimension getDimension() const override { return eFormulaDimension::e3d; }
};

}  // namespace vimra::formula
