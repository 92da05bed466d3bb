// A program that configures log4cplus before it uses the framework keeps its
// configuration: the framework adds nothing.

#include "framework/core/LogCapture.h"

#include <vimra/core/Log.h>

#include <gtest/gtest.h>

namespace {

TEST(DefaultLogConfiguration, NotInstalledOverAnApplicationsConfiguration) {
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    log4cplus::SharedAppenderPtr appender(new vimra::test::CaptureAppender);
    root.addAppender(appender);
    root.setLogLevel(log4cplus::INFO_LOG_LEVEL);

    log4cplus::Logger base = vimra::core::getBaseLogger();
    EXPECT_FALSE(vimra::core::isDefaultLogConfigurationInstalled());
    EXPECT_TRUE(base.getAllAppenders().empty());
    EXPECT_EQ(base.getLogLevel(), log4cplus::NOT_SET_LOG_LEVEL);
    EXPECT_TRUE(vimra::core::getSerializationLogger().isEnabledFor(log4cplus::INFO_LOG_LEVEL));

    vimra::core::getSerializationLogger().log(log4cplus::INFO_LOG_LEVEL, "to the application");
    auto& capture = static_cast<vimra::test::CaptureAppender&>(*appender);
    EXPECT_EQ(capture.count(log4cplus::INFO_LOG_LEVEL, "to the application"), 1u);
    root.removeAllAppenders();
}

}  // namespace
