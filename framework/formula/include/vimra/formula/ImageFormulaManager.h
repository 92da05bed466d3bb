#pragma once

// Compilation of a formula into a linear register program, and the manager
// that holds the result.

#include <vimra/formula/FormulaTypes.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vimra::formula {

/// A compiled formula: its item list (a linear register program), the reads it
/// makes, its result type and its halo. Immutable, shared between threads.
class ImageFormulaManager {
  public:
    eImageFormulaResultType::domain getResultType() const { return m_resultType; }
    /// The image identifiers (0..8) the formula reads, ascending.
    const std::set<unsigned>& getImageIdSet() const { return m_imageIds; }
    /// The program. Items that depend on nothing per pixel (constants, image
    /// sizes) come first; getFirstPerPixelItem() is the index of the first other.
    const FormulaItemColl& getFormulaItemColl() const { return m_items; }
    std::size_t getFirstPerPixelItem() const { return m_firstPerPixelItem; }
    /// The distinct (image, offset) reads; FormulaItem::Read indexes this list.
    const std::vector<FormulaImageWithOffsetInfo>& getReads() const { return m_reads; }
    const FormulaHalo& getHalo() const { return m_halo; }
    /// Number of registers of the program and the one holding the result.
    std::size_t getRegisterCount() const { return m_registerCount; }
    std::uint16_t getResultRegister() const { return m_resultRegister; }
    /// Temporaries the program needs (registers that are neither reads nor constants).
    std::size_t getTemporaryCount() const { return m_temporaryCount; }
    /// Nodes of the expression after folding and merging.
    std::size_t getNodeCount() const { return m_nodeCount; }
    eFormulaDimension getDimension() const { return m_dimension; }
    /// Whether the formula uses the coordinate x, y or z (0, 1, 2).
    bool usesCoordinate(int axis) const { return (m_coordinates >> axis) & 1u; }
    /// The fully parenthesised form of the formula as parsed.
    const std::string& getNormalForm() const { return m_normalForm; }
    const std::string& getFormulaStr() const { return m_formula; }

  private:
    friend class FormulaCompiler;
    std::string m_formula;
    std::string m_normalForm;
    eImageFormulaResultType::domain m_resultType = eImageFormulaResultType::eNumeric;
    std::set<unsigned> m_imageIds;
    FormulaItemColl m_items;
    std::size_t m_firstPerPixelItem = 0;
    std::vector<FormulaImageWithOffsetInfo> m_reads;
    FormulaHalo m_halo;
    std::size_t m_registerCount = 0;
    std::size_t m_temporaryCount = 0;
    std::uint16_t m_resultRegister = 0;
    std::size_t m_nodeCount = 0;
    eFormulaDimension m_dimension = eFormulaDimension::e2d;
    unsigned m_coordinates = 0;
};

using ImageFormulaManagerPtr = std::shared_ptr<const ImageFormulaManager>;

/// The outcome of a compilation: a manager, or at least one diagnostic.
struct FormulaCompileResult {
    ImageFormulaManagerPtr Manager;
    std::vector<FormulaDiagnostic> Diagnostics;
    bool ok() const { return Manager != nullptr; }
};

/// Compiles a formula. Never throws for any input text (allocation failure aside).
FormulaCompileResult compileFormula(std::string_view formula,
                                    const FormulaCompileOptions& options = {});

/// What `explain` tells about a formula.
struct FormulaExplanation {
    bool Valid = false;
    std::string NormalForm;  ///< fully parenthesised, e.g. "-(2 ^ 2)"
    eImageFormulaResultType::domain ResultType = eImageFormulaResultType::eNumeric;
    std::set<unsigned> ImageIds;
    FormulaHalo Halo;
    std::size_t NodeCount = 0;
    std::vector<FormulaDiagnostic> Diagnostics;
    /// All of the above as text, one item a line.
    std::string Text;
};
FormulaExplanation explainFormula(std::string_view formula,
                                  const FormulaCompileOptions& options = {});

/// The name by which formulas refer to an image identifier ("I1", "B2", "L3").
std::string imageName(unsigned id);

}  // namespace vimra::formula
