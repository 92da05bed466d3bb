// The library's message tables, checked text by text against the tables below,
// and the library's logger, message manager and exception.

#include "framework/core/LogCapture.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializerLogMessages.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/ProcessorLogMessages.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticException.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLog.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLogMessages.h>

#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>
#include <vimra/core/MessageManager.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace vimra::imaproc::arithm {
namespace {

struct ExpectedText {
    unsigned value;
    const char* text;
};

// The texts as the library's users know them.
constexpr ExpectedText s_expectedProcessorTexts[] = {
    {0, "Level 1 algorithm: computation of the absolute value of an image, pixel by pixel"},
    {1, "Level 2 algorithm: computation of the absolute value of an image, pixel by pixel"},
    {2, "Absolute value of an image level 3 on Gpu"},
    {3, "Level 3 algorithm: computation of the absolute value of an image, pixel by pixel"},
    {4, "Image/Image addition algorithm level 3 on Gpu"},
    {5, "Level 1 algorithm: addition of 2 images, pixel by pixel"},
    {6, "Level 2 algorithm: addition of 2 images, pixel by pixel"},
    {7, "Level 3 algorithm: addition of 2 images, pixel by pixel"},
    {8, "Level 1 algorithm: addition of an image and a scalar"},
    {9, "Level 2 algorithm: addition of an image and a scalar"},
    {10, "Level 3 algorithm: addition of an image and a scalar"},
    {11, "Level 1 algorithm: blending on 2 images"},
    {12, "Level 2 algorithm: blending on 2 images"},
    {13, "Level 3 algorithm: blending on 2 images"},
    {14, "Level 1 algorithm: Algorithm allowing to bound image values to a given range"},
    {15, "Level 2 algorithm: Algorithm allowing to bound image values to a given range"},
    {16, "Level 3 algorithm: Algorithm allowing to bound image values to a given range"},
    {17, "Level 1 algorithm: cartesian to polar coordinates transformation"},
    {18, "Level 2 algorithm: cartesian to polar coordinates transformation"},
    {19, "Level 3 algorithm: cartesian to polar coordinates transformation"},
    {20, "Level 3 algorithm: cartesian to polar coordinates transformation on Gpu"},
    {21, "Level 3 algorithm: Multiplication between two complex images on Gpu"},
    {22, "Level 1 algorithm: Multiplication between two complex images"},
    {23, "Level 2 algorithm: Multiplication between two complex images"},
    {24, "Level 3 algorithm: Multiplication between two complex images"},
    {25, "Level 3 algorithm: division of one image by another, pixel by pixel on Gpu"},
    {26, "Level 1 algorithm: division of one image by another, pixel by pixel"},
    {27, "Level 2 algorithm: division of one image by another, pixel by pixel"},
    {28, "Level 3 algorithm: division of one image by another, pixel by pixel"},
    {29, "Level 1 algorithm: algorithm allowing to generate a 2d image using a formula string"},
    {30, "Level 2 algorithm: algorithm allowing to generate a 2d image using a formula string"},
    {31, "Level 3 algorithm: algorithm allowing to generate a 2d image using a formula string"},
    {32, "Level 1 algorithm: algorithm allowing to generate a 3d image using a formula string"},
    {33, "Level 2 algorithm: algorithm allowing to generate a 3d image using a formula string"},
    {34, "Level 3 algorithm: algorithm allowing to generate a 3d image using a formula string"},
    {35, "Level 1 algorithm: Add images with different dimensions"},
    {36, "Level 2 algorithm: Add images with different dimensions"},
    {37, "Level 2 algorithm: Add images with different dimensions"},
    {38, "Level 2 algorithm: Add images with different dimensions"},
    {39, "Level 2 algorithm: Add images with different dimensions"},
    {40, "Level 2 algorithm: Add images with different dimensions"},
    {41, "Level 1 algorithm: function for divide images with different dimensions"},
    {42, "Level 2 algorithm: function for divide images with different dimensions"},
    {43, "Level 2 algorithm: function for divide images with different dimensions"},
    {44, "Level 2 algorithm: function for divide images with different dimensions"},
    {45, "Level 2 algorithm: function for subtract divide with different dimensions"},
    {46, "Level 2 algorithm: function for subtract divide with different dimensions"},
    {47, "Level 1 algorithm: Multiply images with different dimensions"},
    {48, "Level 2 algorithm: Multiply images with different dimensions"},
    {49, "Level 2 algorithm: Multiply images with different dimensions"},
    {50, "Level 2 algorithm: Multiply images with different dimensions"},
    {51, "Level 2 algorithm: Multiply images with different dimensions"},
    {52, "Level 2 algorithm: Multiply images with different dimensions"},
    {53, "Level 1 algorithm: functions for subtract images with different dimensions"},
    {54, "Level 2 algorithm: functions for subtract images with different dimensions"},
    {55, "Level 2 algorithm: functions for subtract images with different dimensions"},
    {56, "Level 2 algorithm: functions for subtract images with different dimensions"},
    {57, "Level 2 algorithm: functions for subtract images with different dimensions"},
    {58, "Level 2 algorithm: Multiply images with different dimensions"},
    {59, "Level 1 algorithm: Computation of L1 (taxicab) norm of two images"},
    {60, "Level 2 algorithm: Computation of L1 (taxicab) norm of two images"},
    {61, "Level 3 algorithm: Computation of L1 (taxicab) norm of two images"},
    {62, "Level 1 algorithm: Computation of L1 (taxicab) norm of three images"},
    {63, "Level 2 algorithm: Computation of L1 (taxicab) norm of three images"},
    {64, "Level 3 algorithm: Computation of L1 (taxicab) norm of three images"},
    {65, "Level 3 algorithm: Computation of L2 (euclidian) norm of two images on Gpu"},
    {66, "Level 1 algorithm: Computation of L2 (euclidian) norm of two images"},
    {67, "Level 2 algorithm: Computation of L2 (euclidian) norm of two images"},
    {68, "Level 3 algorithm: Computation of L2 (euclidian) norm of two images"},
    {69, "Level 1 algorithm: Computation of L2 (euclidian) norm of three images"},
    {70, "Level 2 algorithm: Computation of L2 (euclidian) norm of three images"},
    {71, "Level 3 algorithm: Computation of L2 (euclidian) norm of three images"},
    {72, "Level 1 algorithm: linear combination of 2 images, pixel by pixel"},
    {73, "Level 2 algorithm: linear combination of 2 images, pixel by pixel"},
    {74, "Level 3 algorithm: linear combination of 2 images, pixel by pixel"},
    {75, "Level 1 algorithm: maximum of absolute values of 2 images, pixel by pixel"},
    {76, "Level 2 algorithm: maximum of absolute values of 2 images, pixel by pixel"},
    {77, "Level 3 algorithm: maximum of absolute values of 2 images, pixel by pixel"},
    {78, "Level 1 algorithm: maximum of 2 iamges, pixel by pixel"},
    {79, "Level 2 algorithm: maximum of 2 iamges, pixel by pixel"},
    {80, "Level 3 algorithm: maximum of 2 iamges, pixel by pixel"},
    {81, "Level 1 algorithm: minimum of 2 images, pixel by pixel"},
    {82, "Level 2 algorithm: minimum of 2 images, pixel by pixel"},
    {83, "Level 3 algorithm: minimum of 2 images, pixel by pixel"},
    {84, "Level 1 algorithm: affine operation on an image"},
    {85, "Level 2 algorithm: affine operation on an image"},
    {86, "Level 3 algorithm: affine operation on an image"},
    {87, "Level 3 algorithm: multiplication of 2 images, pixel by pixel on Gpu"},
    {88, "Level 1 algorithm: multiplication of 2 images, pixel by pixel"},
    {89, "Level 2 algorithm: multiplication of 2 images, pixel by pixel"},
    {90, "Level 3 algorithm: multiplication of 2 images, pixel by pixel"},
    {91, "Level 3 algorithm: multiplication of an image and a scalar on Gpu"},
    {92, "Level 1 algorithm: multiplication of an image and a scalar"},
    {93, "Level 2 algorithm: multiplication of an image and a scalar"},
    {94, "Level 3 algorithm: multiplication of an image and a scalar"},
    {95, "Level 3 algorithm: polar to cartesian coordinates transformation on Gpu"},
    {96, "Level 1 algorithm: polar to cartesian coordinates transformation"},
    {97, "Level 2 algorithm: polar to cartesian coordinates transformation"},
    {98, "Level 3 algorithm: polar to cartesian coordinates transformation"},
    {99, "Level 1 algorithm: Round values of a floating point image"},
    {100, "Level 2 algorithm: Round values of a floating point image"},
    {101, "Level 3 algorithm: Round values of a floating point image"},
    {102, "Level 3 algorithm: computation of the square root of an image, pixel by pixel on Gpu"},
    {103, "Level 1 algorithm: computation of the square root of an image, pixel by pixel"},
    {104, "Level 2 algorithm: computation of the square root of an image, pixel by pixel"},
    {105, "Level 3 algorithm: computation of the square root of an image, pixel by pixel"},
    {106, "Level 3 algorithm: Computation of the square of an image, pixel by pixel on Gpu"},
    {107, "Level 1 algorithm: Computation of the square of an image, pixel by pixel"},
    {108, "Level 2 algorithm: Computation of the square of an image, pixel by pixel"},
    {109, "Level 3 algorithm: Computation of the square of an image, pixel by pixel"},
    {110, "Level 3 algorithm: subtraction of one image by another, pixel by pixel on Gpu"},
    {111, "Level 1 algorithm: subtraction of one image by another, pixel by pixel"},
    {112, "Level 2 algorithm: subtraction of one image by another, pixel by pixel"},
    {113, "Level 3 algorithm: subtraction of one image by another, pixel by pixel"},
    {114, "Level 1 algorithm: subtraction of a scalar and an image (scalar - image)"},
    {115, "Level 2 algorithm: subtraction of a scalar and an image (scalar - image)"},
    {116, "Level 3 algorithm: subtraction of a scalar and an image (scalar - image)"},
    {117, "Enumerate value %s is not yet supported"},
};

constexpr ExpectedText s_expectedOutputInitializerTexts[] = {
    {0, "Attribute weak pointer has expired, can't get it"},
    {1,
     "Input image formula %s is not valid, can't extract result type from formula and "
     "initialize associated output image\n%s"},
    {2,
     "Image formula {%s} should be based at least on an input image if automatic output image "
     "initialization is requested"},
    {3, "Input attribute should not be null"},
    {4, "Enumerate value %s is not yet supported"},
};

const std::string s_processorEnum = "vimra::imaproc::arithm::eProcessorMessage";
const std::string s_outputInitializerEnum = "vimra::imaproc::arithm::eOutputInitializerMessage";
const std::string s_libraryEnum = "vimra::imaproc::arithm::eVIMRAIPLArithmeticMessage";

class ProcessorMessageText : public ::testing::TestWithParam<ExpectedText> {};

TEST_P(ProcessorMessageText, IsRegisteredVerbatim) {
    const ExpectedText& e = GetParam();
    const auto id = static_cast<eProcessorMessage::domain>(e.value);
    EXPECT_EQ(getProcessorMessageText(id), e.text);
    EXPECT_EQ(getVIMRAIPLArithmeticLogMessageManager().getText(s_processorEnum, e.value), e.text);
}

INSTANTIATE_TEST_SUITE_P(Table, ProcessorMessageText, ::testing::ValuesIn(s_expectedProcessorTexts),
                         [](const ::testing::TestParamInfo<ExpectedText>& info) {
                             return "Value" + std::to_string(info.param.value);
                         });

class OutputInitializerMessageText : public ::testing::TestWithParam<ExpectedText> {};

TEST_P(OutputInitializerMessageText, IsRegisteredVerbatim) {
    EXPECT_EQ(
        getVIMRAIPLArithmeticLogMessageManager().getText(s_outputInitializerEnum, GetParam().value),
        GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, OutputInitializerMessageText,
                         ::testing::ValuesIn(s_expectedOutputInitializerTexts),
                         [](const ::testing::TestParamInfo<ExpectedText>& info) {
                             return "Value" + std::to_string(info.param.value);
                         });

TEST(LibraryMessages, TablesHoldExactlyTheListedValues) {
    core::MessageManager& m = getVIMRAIPLArithmeticLogMessageManager();
    EXPECT_EQ(m.getMessageCount(s_processorEnum), std::size(s_expectedProcessorTexts));
    EXPECT_EQ(m.getMessageCount(s_outputInitializerEnum),
              std::size(s_expectedOutputInitializerTexts));
    EXPECT_FALSE(m.findText(s_processorEnum, 118).has_value());
    EXPECT_FALSE(m.findText(s_outputInitializerEnum, 5).has_value());
    // The general map is registered, and empty.
    EXPECT_TRUE(m.isMapRegistered(s_libraryEnum));
    EXPECT_EQ(m.getMessageCount(s_libraryEnum), 0u);
    EXPECT_THROW(getProcessorMessageText(static_cast<eProcessorMessage::domain>(118)),
                 core::BaseException);
}

TEST(LibraryMessages, SameTextForUnsupportedEnumerateValue) {
    EXPECT_EQ(getProcessorMessageText(eProcessorMessage::eEnumerateValueNotSupported),
              getVIMRAIPLArithmeticLogMessageManager().getText(
                  s_outputInitializerEnum, eOutputInitializerMessage::eEnumerateValueNotSupported));
}

TEST(LibraryMessages, Formatting) {
    EXPECT_EQ(
        core::formatMessage(eOutputInitializerMessage::eInvalidFormula, "I1 +", "missing operand"),
        "Input image formula I1 + is not valid, can't extract result type from formula and "
        "initialize associated output image\nmissing operand");
    EXPECT_EQ(core::formatMessage(eProcessorMessage::eEnumerateValueNotSupported, 12),
              "Enumerate value 12 is not yet supported");
    // A formula holding placeholders is only an argument.
    EXPECT_EQ(
        core::formatMessage(eOutputInitializerMessage::eFormulaWithoutInputImage, "%s*2%"),
        "Image formula {%s*2%} should be based at least on an input image if automatic output "
        "image initialization is requested");
}

TEST(LibraryMessages, MissingArgumentGivesFallbackAndErrorRecord) {
    const std::string fallback = "Exception thrown while processing message";
    test::ScopedLogCapture capture(core::getBaseLogger());
    std::string text;
    ASSERT_NO_THROW(
        text = core::formatMessage(eOutputInitializerMessage::eInvalidFormula, "only one"));
    EXPECT_EQ(text, fallback);
    EXPECT_EQ(capture.appender().count(log4cplus::ERROR_LOG_LEVEL, fallback), 1u);
}

TEST(LibraryMessages, ReplacedTextChangesTheToolTipText) {
    core::MessageManager& m = getVIMRAIPLArithmeticLogMessageManager();
    const std::string original = getProcessorMessageText(eProcessorMessage::eAddImgImgLvl1);
    m.add(s_processorEnum, eProcessorMessage::eAddImgImgLvl1, "Niveau 1 : addition de 2 images");
    EXPECT_EQ(getProcessorMessageText(eProcessorMessage::eAddImgImgLvl1),
              "Niveau 1 : addition de 2 images");
    m.add(s_processorEnum, eProcessorMessage::eAddImgImgLvl1, original);
}

TEST(LibraryLog, LoggerAndManager) {
    EXPECT_EQ(getVIMRAIPLArithmeticLoggerName(), "vimra.VIMRAIPLArithmetic");
    EXPECT_EQ(getVIMRAIPLArithmeticLogger().getName(), "vimra.VIMRAIPLArithmetic");
    EXPECT_EQ(&getVIMRAIPLArithmeticLogger(), &getVIMRAIPLArithmeticLogger());
    EXPECT_EQ(&getVIMRAIPLArithmeticLogMessageManager(),
              &core::MessageManager::getInstance("VIMRAIPLArithmetic"));
    EXPECT_EQ(getVIMRAIPLArithmeticLogMessageManager().getDomain(), "VIMRAIPLArithmetic");

    // Records of the library's logger reach handlers of the framework's base logger.
    test::ScopedLogCapture capture(core::getBaseLogger(), log4cplus::WARN_LOG_LEVEL);
    core::logMessage(getVIMRAIPLArithmeticLogger(), log4cplus::WARN_LOG_LEVEL,
                     eProcessorMessage::eEnumerateValueNotSupported, "x");
    EXPECT_EQ(capture.appender().count(log4cplus::WARN_LOG_LEVEL,
                                       "Enumerate value x is not yet supported"),
              1u);
}

TEST(LibraryException, IsTheFrameworksBaseException) {
    static_assert(std::is_base_of_v<core::BaseException, VIMRAIPLArithmeticException>);
    static_assert(sizeof(VIMRAIPLArithmeticException) == sizeof(core::BaseException));
    try {
        throw VIMRAIPLArithmeticException(
            core::formatMessage(eOutputInitializerMessage::eNullInputAttribute));
    } catch (const core::BaseException& e) {
        EXPECT_STREQ(e.what(), "Input attribute should not be null");
    }
}

}  // namespace
}  // namespace vimra::imaproc::arithm
