#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializer/FormulaInitializerUtils.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializerLogMessages.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticException.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLog.h>

#include <vimra/core/LogMessageFormater.h>

#include <boost/make_shared.hpp>

namespace vimra::imaproc::arithm {

namespace {

constexpr const char* s_analysisContext = "void OutputFormula::updateFormulaAnalysis() const";

/// Logs the message at ERROR with this unit and `line`, then throws it.
template <class... Args>
[[noreturn]] void fail(int line, eOutputInitializerMessage::domain id, const Args&... args) {
    const std::string text = core::formatMessage(id, args...);
    const log4cplus::Logger& logger = getVIMRAIPLArithmeticLogger();
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
        logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, text, __FILE__, line);
    throw VIMRAIPLArithmeticException(text, s_analysisContext);
}

}  // namespace

/// Builds OutputFormula objects: the only code allowed to initialise them.
class OutputFormulaFactory {
  public:
    static boost::shared_ptr<OutputFormula> make(
        OutputFormula::FormulaRef formula,
        std::array<OutputFormula::ImageRef, formula::kImageCount> images) {
        auto info = boost::make_shared<OutputFormula>(std::move(formula), std::move(images));
        info->initBase();
        return info;
    }
};

OutputFormula::OutputFormula(FormulaRef formula, std::array<ImageRef, formula::kImageCount> images)
    : m_formula(std::move(formula)), m_images(std::move(images)) {}

OutputFormula::~OutputFormula() = default;

void OutputFormula::updateFormulaAnalysis() const {
    if (m_selected.lock()) return;
    checkInitialized(s_analysisContext);
    const auto formulaAttr = m_formula.lock();
    if (!formulaAttr) fail(__LINE__, eOutputInitializerMessage::eNullInputAttribute);
    const std::string& text = formulaAttr->getFormulaStr();
    const formula::FormulaValidation validation = formulaAttr->validateFormula();
    if (!validation)
        fail(__LINE__, eOutputInitializerMessage::eInvalidFormula, text, validation.Diagnostic);
    const formula::ImageFormulaManagerPtr manager = formulaAttr->getImageFormulaManager();
    ++m_analyses;
    m_resultType = static_cast<std::uint64_t>(manager->getResultType());
    const std::set<unsigned>& ids = manager->getImageIdSet();
    if (ids.empty()) {
        // Constants only: the geometry comes from input 0, which must be there.
        const auto input0 = m_images[0].lock();
        if (!input0 || !input0->getImage())
            fail(__LINE__, eOutputInitializerMessage::eFormulaWithoutInputImage, text);
        m_selected = m_images[0];
        return;
    }
    const unsigned lowest = *ids.begin();
    m_selected = m_images[lowest < formula::kImageCount ? lowest : 0];
}

const image::BaseImage& OutputFormula::getSelectedInputImage() const {
    updateFormulaAnalysis();
    const auto selected = m_selected.lock();
    if (!selected) throwExpiredAttribute(s_analysisContext);
    const image::BaseImage* img = selected->getImage();
    if (!img) throwExpiredAttribute(s_analysisContext);
    return *img;
}

image::eImageBufferType::domain OutputFormula::getImageBufferType() const {
    updateFormulaAnalysis();
    return m_resultType == formula::eImageFormulaResultType::eLogical
               ? image::eImageBufferType::eBinary
               : image::eImageBufferType::eFloat;
}

std::uint64_t OutputFormula::getSizeX() const {
    return getSelectedInputImage().getSizeX();
}
std::uint64_t OutputFormula::getSizeY() const {
    return getSelectedInputImage().getSizeY();
}
image::VolumeGeometry OutputFormula::getVolumeGeometry() const {
    return getSelectedInputImage().getVolumeGeometry();
}
image::ColorGeometry OutputFormula::getColorGeometry() const {
    return getSelectedInputImage().getColorGeometry();
}
image::TemporalGeometry OutputFormula::getTemporalGeometry() const {
    return getSelectedInputImage().getTemporalGeometry();
}

bool OutputFormula::hasInputImage() const {
    checkInitialized("bool OutputFormula::hasInputImage() const");
    return true;
}

image::ConstImagePtr OutputFormula::getInputImage() const {
    updateFormulaAnalysis();
    const auto selected = m_selected.lock();
    if (!selected) throwExpiredAttribute(s_analysisContext);
    // The attribute holds the image by shared pointer: hand out that ownership.
    if (const auto* in = dynamic_cast<const processor::BaseInputImageAttribute*>(selected.get()))
        return in->getValue();
    if (const auto* out = dynamic_cast<const processor::BaseOutputImageAttribute*>(selected.get()))
        return out->getValue();
    throwExpiredAttribute(s_analysisContext);
}

boost::shared_ptr<processor::BaseCustomImageInfo> outputFormula(
    const boost::shared_ptr<const formula::BaseImageFormulaAttribute>& formula,
    const ConstImageAttributePtr& grey1, const ConstImageAttributePtr& grey2,
    const ConstImageAttributePtr& grey3, const ConstImageAttributePtr& binary1,
    const ConstImageAttributePtr& binary2, const ConstImageAttributePtr& binary3,
    const ConstImageAttributePtr& label1, const ConstImageAttributePtr& label2,
    const ConstImageAttributePtr& label3) {
    return OutputFormulaFactory::make(
        formula, {grey1, grey2, grey3, binary1, binary2, binary3, label1, label2, label3});
}

}  // namespace vimra::imaproc::arithm
