#pragma once

// Formulas as processor attributes: the formula facility's attribute (a string
// compiled once when set) made a processor attribute, with the splits that hand
// it to sub-runs without compiling it again, and the border-policy attribute of
// neighbourhood reads.

#include <vimra/formula/FormulaAttribute.h>
#include <vimra/image/Border.h>
#include <vimra/processor/Dispatcher.h>

#include <string>

namespace vimra::processor {

/// A formula attribute of a processor. `Formula` is
/// formula::ImageFormula2dAttribute or formula::ImageFormula3dAttribute.
template <class Formula>
class BaseProcessorFormulaAttribute : public BaseAttribute, public Formula {
  public:
    using value_type = std::string;
    bool isInput() const override { return true; }
    bool isSet() const override { return Formula::isSet(); }
    void clear() override { Formula::clear(); }
    void setValue(const std::string& formula) { Formula::setFormulaStr(formula); }
    const std::string& getValue() const { return Formula::getFormulaStr(); }
    /// Takes `other`'s formula with its compiled form.
    void assign(const BaseProcessorFormulaAttribute& other) {
        static_cast<Formula&>(*this) = other;
    }

    void write(core::BaseOArchive& archive) const override;
    void read(core::BaseIArchive& archive) override;
};

using BaseImageFormula2dProcessorAttribute =
    BaseProcessorFormulaAttribute<formula::ImageFormula2dAttribute>;
using BaseImageFormula3dProcessorAttribute =
    BaseProcessorFormulaAttribute<formula::ImageFormula3dAttribute>;

using BaseBorder2dPolicyAttribute = BaseValueAttribute<image::Border2dPolicy>;
using BaseBorder3dPolicyAttribute = BaseValueAttribute<image::Border3dPolicy>;

namespace detail {
/// Copies the formula of `source` into the attribute `Attr` of `target`, compiled.
template <class Attr>
void assignFormula(BaseProcessor& target, const Attr& source) {
    if (auto a = target.findAttribute<Attr>()) a->assign(source);
}
}  // namespace detail

/// Hands a formula to every sub-image run.
template <class Attr>
class StaticFormulaNoSplit final : public BaseStaticSplit {
  public:
    void initBase(boost::shared_ptr<const Attr> source) { m_source = std::move(source); }
    std::uint64_t getCount() const override { return 0; }
    void assign(BaseProcessor& target, std::uint64_t) const override {
        detail::assignFormula(target, *m_source);
    }

  private:
    boost::shared_ptr<const Attr> m_source;
};

/// Hands a formula to every strip run.
template <class Attr>
class DynamicFormulaNoSplit final : public BaseDynamicSplit {
  public:
    void initBase(boost::shared_ptr<const Attr> source) { m_source = std::move(source); }
    bool hasExtent() const override { return false; }
    std::uint64_t getSizeX() const override { return 0; }
    std::uint64_t getSizeY() const override { return 0; }
    std::uint64_t getSizeZ() const override { return 0; }
    eStripAxis::domain getAxis() const override { return eStripAxis::eY; }
    const char* getAttributeName() const override { return Attr::s_name; }
    AttributePtr resolve(BaseProcessor& target) const override {
        return target.findAttribute<Attr>();
    }
    void assign(BaseAttribute& attribute, std::uint64_t, std::uint64_t) const override {
        static_cast<Attr&>(attribute).assign(*m_source);
    }

  private:
    boost::shared_ptr<const Attr> m_source;
};

}  // namespace vimra::processor

namespace vimra::imaproc::attr {

using InImageFormula2d =
    processor::Attribute<"InImageFormula2d", processor::BaseImageFormula2dProcessorAttribute>;
using InImageFormula3d =
    processor::Attribute<"InImageFormula3d", processor::BaseImageFormula3dProcessorAttribute>;
using InOptConvolBorder2d =
    processor::Attribute<"InOptConvolBorder2d", processor::BaseBorder2dPolicyAttribute>;
using InOptConvolBorder3d =
    processor::Attribute<"InOptConvolBorder3d", processor::BaseBorder3dPolicyAttribute>;
using InConvolBorder2d =
    processor::Attribute<"InConvolBorder2d", processor::BaseBorder2dPolicyAttribute>;
using InConvolBorder3d =
    processor::Attribute<"InConvolBorder3d", processor::BaseBorder3dPolicyAttribute>;

}  // namespace vimra::imaproc::attr
