// The output description of a formula algorithm: which image lends its
// geometry, which buffer type the result gets, the three failures with their
// exact texts and context, and a single analysis across queries.

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/FormulaLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializer/FormulaInitializerUtils.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticException.h>

#include <vimra/formula/ImageFormulaManager.h>
#include <vimra/processor/ProcessingException.h>

#include <gtest/gtest.h>

using namespace vimra;
using image::eImageBufferType;
using image::Image;
namespace arithm = vimra::imaproc::arithm;

namespace {

constexpr const char* s_context = "void OutputFormula::updateFormulaAnalysis() const";

/// A formula attribute and nine image attributes, as a level-1 formula algorithm holds them.
struct Attributes {
    boost::shared_ptr<imaproc::attr::InImageFormula2d> formula =
        boost::make_shared<imaproc::attr::InImageFormula2d>();
    std::array<boost::shared_ptr<processor::BaseInputImageAttribute>, 9> images;

    Attributes() {
        for (auto& a : images) a = boost::make_shared<imaproc::attr::InOptImg1>();
    }
    boost::shared_ptr<processor::BaseCustomImageInfo> info() const {
        return arithm::outputFormula(formula, images[0], images[1], images[2], images[3], images[4],
                                     images[5], images[6], images[7], images[8]);
    }
};

std::string validatorText(const std::string& f) {
    formula::ImageFormula2dAttribute a;
    a.setFormulaStr(f);
    return a.validateFormula().Diagnostic;
}

}  // namespace

TEST(OutputFormula, GeometryComesFromTheLowestNumberedImageRead) {
    Attributes at;
    at.images[0]->setValue(Image::create2d(eImageBufferType::eUInt8, 4, 4));
    at.images[1]->setValue(Image::create3d(eImageBufferType::eInt16, 9, 2, 3));
    at.images[8]->setValue(Image::create3d(eImageBufferType::eLabel16, 7, 5, 6));
    struct Case {
        const char* formula;
        unsigned expectedImage;
    } cases[] = {{"L3 + 1", 8}, {"L3 + I2", 1}, {"I1 * L3", 0}, {"7", 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formula);
        at.formula->setValue(c.formula);
        auto info = at.info();
        const image::BaseImage& want = *at.images[c.expectedImage]->getValue();
        EXPECT_EQ(info->getSizeX(), want.getSizeX());
        EXPECT_EQ(info->getSizeY(), want.getSizeY());
        EXPECT_EQ(info->getVolumeGeometry(), want.getVolumeGeometry());
        EXPECT_EQ(info->getColorGeometry(), want.getColorGeometry());
        EXPECT_EQ(info->getTemporalGeometry(), want.getTemporalGeometry());
        EXPECT_EQ(info->getInputImage().get(), &want);
        EXPECT_TRUE(info->hasInputImage());
    }
}

TEST(OutputFormula, BufferTypeIsBinaryForALogicalResultAndFloatOtherwise) {
    Attributes at;
    at.images[0]->setValue(Image::create2d(eImageBufferType::eUInt8, 4, 4));
    at.images[3]->setValue(Image::create2d(eImageBufferType::eBinary, 4, 4));
    const std::pair<const char*, eImageBufferType::domain> cases[] = {
        {"I1 > 1", eImageBufferType::eBinary}, {"B1 && I1 < 3", eImageBufferType::eBinary},
        {"I1 + 1", eImageBufferType::eFloat},  {"B1 * 1", eImageBufferType::eFloat},
        {"true", eImageBufferType::eBinary},   {"round(I1)", eImageBufferType::eFloat}};
    for (const auto& [f, type] : cases) {
        SCOPED_TRACE(f);
        at.formula->setValue(f);
        EXPECT_EQ(at.info()->getImageBufferType(), type);
        EXPECT_EQ(at.info()->computeDescription().getValue().bufferType, type);
    }
}

TEST(OutputFormula, RepeatedQueriesAnalyseOnce) {
    Attributes at;
    at.images[2]->setValue(Image::create2d(eImageBufferType::eFloat, 5, 3));
    at.formula->setValue("I3 * 2");
    auto info = at.info();
    const auto& formulaInfo = static_cast<const arithm::OutputFormula&>(*info);
    EXPECT_EQ(formulaInfo.getAnalysisCount(), 0u);  // nothing is analysed at creation
    (void)info->computeDescription();
    (void)info->getSizeX();
    (void)info->getImageBufferType();
    (void)info->getInputImage();
    EXPECT_EQ(formulaInfo.getAnalysisCount(), 1u);
}

TEST(OutputFormula, FailuresCarryTheExactTextsAndTheAnalysisContext) {
    Attributes at;
    at.images[0]->setValue(Image::create2d(eImageBufferType::eUInt8, 4, 4));
    auto expectFailure = [](const arithm::OutputFormula& info, const std::string& text) {
        try {
            (void)info.getImageBufferType();
            ADD_FAILURE() << "no failure";
        } catch (const arithm::VIMRAIPLArithmeticException& e) {
            EXPECT_EQ(e.getMessage(), text);
            EXPECT_EQ(e.getContext(), s_context);
        }
    };
    at.formula->setValue("I1 +");
    auto invalid = at.info();
    expectFailure(static_cast<const arithm::OutputFormula&>(*invalid),
                  "Input image formula I1 + is not valid, can't extract result type from formula "
                  "and initialize "
                  "associated output image\n" +
                      validatorText("I1 +"));

    at.images[0]->clear();
    at.formula->setValue("2");
    auto constant = at.info();
    expectFailure(
        static_cast<const arithm::OutputFormula&>(*constant),
        "Image formula {2} should be based at least on an input image if automatic output image "
        "initialization is requested");

    auto orphan = at.info();
    at.formula.reset();
    expectFailure(static_cast<const arithm::OutputFormula&>(*orphan),
                  "Input attribute should not be null");
}

TEST(OutputFormula, AReleasedImageAttributeIsReportedByTheFramework) {
    Attributes at;
    at.images[4]->setValue(Image::create2d(eImageBufferType::eBinary, 4, 4));
    at.formula->setValue("B2");
    auto info = at.info();
    EXPECT_EQ(info->getSizeX(), 4u);
    at.images[4].reset();
    EXPECT_THROW((void)info->getSizeX(), processor::VIMRABaseProcessingException);
}

TEST(OutputFormula, AnUninitialisedDescriptionIsRefused) {
    const arithm::OutputFormula raw({}, {});
    EXPECT_THROW((void)raw.hasInputImage(), processor::VIMRAImageProcessingException);
    EXPECT_THROW((void)raw.getImageBufferType(), processor::VIMRAImageProcessingException);
}
