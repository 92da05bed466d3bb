// The default log configuration of a program that configures nothing. This
// program must not configure log4cplus before the test runs.

#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>

#include <gtest/gtest.h>

#include <string>

namespace {

enum class eProbe : unsigned { eTwo = 0 };
constexpr vimra::core::MessageEntry s_probe[] = {{0, "%s and %s"}};

const vimra::core::MessageMapInfo& getMessageMapInfo(eProbe) {
    static const vimra::core::MessageMapInfo info{"ProbeDomain", "eProbe", s_probe};
    return info;
}

using vimra::core::getBaseLogger;

TEST(DefaultLogConfiguration, ErrorsGoToStderrUntilReplaced) {
    ASSERT_TRUE(log4cplus::Logger::getRoot().getAllAppenders().empty());

    log4cplus::Logger base = getBaseLogger();
    EXPECT_TRUE(vimra::core::isDefaultLogConfigurationInstalled());
    ASSERT_EQ(base.getAllAppenders().size(), 1u);
    EXPECT_EQ(base.getAllAppenders()[0]->getName(), vimra::core::s_defaultAppenderName);
    EXPECT_EQ(base.getLogLevel(), log4cplus::ERROR_LOG_LEVEL);
    // Records below ERROR are not even formatted.
    EXPECT_FALSE(vimra::core::getSerializationLogger().isEnabledFor(log4cplus::WARN_LOG_LEVEL));

    // A formatting failure is an ERROR record on stderr.
    testing::internal::CaptureStderr();
    const std::string text = vimra::core::formatMessage(eProbe::eTwo, "one");
    base.log(log4cplus::WARN_LOG_LEVEL, "a warning that stays silent");
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text, "Exception thrown while processing message");
    EXPECT_NE(err.find("ERROR vimra - Exception thrown while processing message"),
              std::string::npos)
        << err;
    EXPECT_EQ(err.find("a warning that stays silent"), std::string::npos) << err;

    // An application replaces it: the appender and the level go, and stay gone.
    vimra::core::removeDefaultLogConfiguration();
    EXPECT_FALSE(vimra::core::isDefaultLogConfigurationInstalled());
    EXPECT_TRUE(base.getAllAppenders().empty());
    EXPECT_EQ(base.getLogLevel(), log4cplus::NOT_SET_LOG_LEVEL);
    vimra::core::getLogger("vimra.other");
    EXPECT_TRUE(base.getAllAppenders().empty());

    testing::internal::CaptureStderr();
    vimra::core::formatMessage(eProbe::eTwo, "one");
    err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err.find("Exception thrown while processing message"), std::string::npos) << err;
}

}  // namespace
