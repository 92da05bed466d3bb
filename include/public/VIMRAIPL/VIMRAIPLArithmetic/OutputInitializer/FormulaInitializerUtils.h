#pragma once

// The output of a formula algorithm called without one: its buffer type follows
// the formula's result type, its size and geometry the lowest-numbered image the
// formula reads. The formula is analysed on the first query, and again only when
// the image chosen has been released.

#include <vimra/formula/FormulaAttribute.h>
#include <vimra/processor/OutputInitializer.h>

#include <array>
#include <cstdint>

namespace vimra::imaproc::arithm {

class OutputFormula final : public processor::BaseCustomImageInfo {
  public:
    using FormulaRef = boost::weak_ptr<const formula::BaseImageFormulaAttribute>;
    using ImageRef = boost::weak_ptr<const processor::BaseImageAttribute>;

    OutputFormula(FormulaRef formula, std::array<ImageRef, formula::kImageCount> images);
    ~OutputFormula() override;

    /// 8 (binary) for a logical result, 7 (float) for any other.
    image::eImageBufferType::domain getImageBufferType() const override;
    std::uint64_t getSizeX() const override;
    std::uint64_t getSizeY() const override;
    image::VolumeGeometry getVolumeGeometry() const override;
    image::ColorGeometry getColorGeometry() const override;
    image::TemporalGeometry getTemporalGeometry() const override;
    bool hasInputImage() const override;
    image::ConstImagePtr getInputImage() const override;

    /// How many times the formula has been analysed (a query after the first
    /// analyses again only when the selected image has been released).
    unsigned getAnalysisCount() const { return m_analyses; }

  private:
    friend class OutputFormulaFactory;

    void updateFormulaAnalysis() const;
    const image::BaseImage& getSelectedInputImage() const;

    FormulaRef m_formula;
    std::array<ImageRef, formula::kImageCount> m_images;
    mutable std::uint64_t m_resultType = 0;
    mutable ImageRef m_selected;
    mutable unsigned m_analyses = 0;
};

using ConstImageAttributePtr = boost::shared_ptr<const processor::BaseImageAttribute>;

/// The output description of a formula algorithm over its formula attribute and
/// its nine optional images (grey 1-3, binary 1-3, label 1-3). Analyses nothing yet.
boost::shared_ptr<processor::BaseCustomImageInfo> outputFormula(
    const boost::shared_ptr<const formula::BaseImageFormulaAttribute>& formula,
    const ConstImageAttributePtr& grey1, const ConstImageAttributePtr& grey2,
    const ConstImageAttributePtr& grey3, const ConstImageAttributePtr& binary1,
    const ConstImageAttributePtr& binary2, const ConstImageAttributePtr& binary3,
    const ConstImageAttributePtr& label1, const ConstImageAttributePtr& label2,
    const ConstImageAttributePtr& label3);

}  // namespace vimra::imaproc::arithm
