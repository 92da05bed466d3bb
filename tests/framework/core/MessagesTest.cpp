#include "framework/core/LogCapture.h"

#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>
#include <vimra/core/MessageManager.h>
#include <vimra/core/Registrators.h>

#include <gtest/gtest.h>

#include <atomic>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace vimra::test {

// A message enumeration of the tests, in its own domain.
struct eTestMessage {
    enum domain : unsigned {
        eTwoArguments = 0,
        eNoArgument = 1,
        eTwoLines = 2,
        ePercent = 3,
        eNumbers = 4,
        eUnregistered = 99,
    };
};

constexpr core::MessageEntry s_testMessages[] = {
    {eTestMessage::eTwoArguments, "first %s, then %s"},
    {eTestMessage::eNoArgument, "nothing to fill"},
    {eTestMessage::eTwoLines, "line %s\nline %s"},
    {eTestMessage::ePercent, "%s%% done, %%s stays"},
    {eTestMessage::eNumbers, "%s|%s|%s"},
};

const core::MessageMapInfo& getMessageMapInfo(eTestMessage::domain) {
    static const core::MessageMapInfo info{"TestMessages", "vimra::test::eTestMessage",
                                           s_testMessages};
    return info;
}

const core::MsgMapRegistrator<eTestMessage> g_testMessageRegistrator;

// Counts how often it is written to a stream: shows whether a message was formatted.
struct CountedArgument {
    std::atomic<int>* writes;
};
std::ostream& operator<<(std::ostream& out, const CountedArgument& a) {
    ++*a.writes;
    return out << "counted";
}

namespace {

const std::string s_fallback = "Exception thrown while processing message";

TEST(MessageManager, OneManagerPerDomain) {
    core::MessageManager& a = core::MessageManager::getInstance("TestMessages");
    EXPECT_EQ(&a, &core::MessageManager::getInstance("TestMessages"));
    EXPECT_NE(&a, &core::MessageManager::getInstance("AnotherDomain"));
    EXPECT_EQ(a.getDomain(), "TestMessages");
}

TEST(MessageManager, MapIsRegisteredAtLoad) {
    core::MessageManager& m = core::MessageManager::getInstance("TestMessages");
    EXPECT_TRUE(m.isMapRegistered("vimra::test::eTestMessage"));
    EXPECT_EQ(m.getMessageCount("vimra::test::eTestMessage"), 5u);
    EXPECT_EQ(m.getText("vimra::test::eTestMessage", 2), "line %s\nline %s");
    // The same enumeration name in another domain is another table.
    EXPECT_FALSE(core::MessageManager::getInstance("AnotherDomain")
                     .findText("vimra::test::eTestMessage", 2)
                     .has_value());
}

TEST(MessageManager, UnknownTextIsAClearError) {
    core::MessageManager& m = core::MessageManager::getInstance("TestMessages");
    EXPECT_FALSE(m.findText("vimra::test::eTestMessage", 42).has_value());
    EXPECT_FALSE(m.findText("vimra::test::eNoSuchEnum", 0).has_value());
    try {
        m.getText("vimra::test::eTestMessage", 42);
        FAIL() << "no exception";
    } catch (const core::BaseException& e) {
        const std::string what = e.what();
        EXPECT_NE(what.find("42"), std::string::npos) << what;
        EXPECT_NE(what.find("vimra::test::eTestMessage"), std::string::npos) << what;
        EXPECT_NE(what.find("TestMessages"), std::string::npos) << what;
    }
}

TEST(MessageManager, AddReplacesAndRegistrationDoesNotOverwrite) {
    core::MessageManager& m = core::MessageManager::getInstance("ReplaceDomain");
    const core::MessageEntry entries[] = {{0, "zero"}, {1, "one"}};
    const core::MessageMapInfo map{"ReplaceDomain", "eReplace", entries};
    m.add("eReplace", 1, "translated one");  // a translation loaded before the map
    EXPECT_TRUE(m.addMap(map));
    EXPECT_EQ(m.getText("eReplace", 0), "zero");
    EXPECT_EQ(m.getText("eReplace", 1), "translated one");
    m.add("eReplace", 0, "translated zero");
    EXPECT_FALSE(m.addMap(map));  // once only: the translation stays
    EXPECT_EQ(m.getText("eReplace", 0), "translated zero");
    EXPECT_EQ(m.getMessageCount("eReplace"), 2u);
}

TEST(LogMessageFormater, FillsPlaceholdersInOrder) {
    EXPECT_EQ(core::formatMessage(eTestMessage::eTwoArguments, "a", std::string("b")),
              "first a, then b");
    EXPECT_EQ(core::formatMessage(eTestMessage::eNumbers, 7, -2.5, 18446744073709551615ull),
              "7|-2.5|18446744073709551615");
    EXPECT_EQ(core::formatMessage(eTestMessage::eNoArgument), "nothing to fill");
    EXPECT_EQ(core::formatMessage(eTestMessage::eTwoLines, 1, 2), "line 1\nline 2");
    EXPECT_EQ(core::formatMessage(eTestMessage::ePercent, 40), "40% done, %s stays");
    const char* none = nullptr;
    EXPECT_EQ(core::formatMessage(eTestMessage::eTwoArguments, none, 'c'), "first (null), then c");

    core::LogMessageFormater f;
    f.setMsgId(eTestMessage::eTwoArguments) % "x" % "y";
    EXPECT_EQ(f.str(), "first x, then y");
    EXPECT_FALSE(f.getFailure().has_value());
}

TEST(LogMessageFormater, UserTextIsNeverAFormat) {
    // Placeholders and percent signs inside arguments are copied, not interpreted.
    EXPECT_EQ(core::formatMessage(eTestMessage::eTwoArguments, "%s%s%d", "100%"),
              "first %s%s%d, then 100%");
}

TEST(LogMessageFormater, NulInAnArgumentIsShownEscaped) {
    // what() and log records are C strings: a raw NUL would cut the message there.
    const std::string text = core::formatMessage(eTestMessage::eTwoArguments,
                                                 std::string("a\0b\0", 4), std::string(1, '\0'));
    EXPECT_EQ(text, "first a\\0b\\0, then \\0");
    EXPECT_EQ(text.find('\0'), std::string::npos);
}

TEST(LogMessageFormater, ReplacedTextIsUsed) {
    core::MessageManager& m = core::MessageManager::getInstance("TestMessages");
    m.add("vimra::test::eTestMessage", eTestMessage::eNoArgument, "rien");
    EXPECT_EQ(core::formatMessage(eTestMessage::eNoArgument), "rien");
    m.add("vimra::test::eTestMessage", eTestMessage::eNoArgument, "nothing to fill");
}

struct FailureCase {
    const char* name;
    std::string (*format)();
};

class FormattingFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(FormattingFailure, GivesFallbackTextAndOneErrorRecord) {
    ScopedLogCapture capture(core::getBaseLogger());
    std::string text;
    ASSERT_NO_THROW(text = GetParam().format());
    EXPECT_EQ(text, s_fallback);
    EXPECT_EQ(capture.appender().count(log4cplus::ERROR_LOG_LEVEL, s_fallback), 1u);
    EXPECT_EQ(capture.appender().records().size(), 1u);  // DEBUG detail is below the level
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormattingFailure,
    ::testing::Values(
        FailureCase{"TooFewArguments",
                    [] { return core::formatMessage(eTestMessage::eTwoArguments, "only one"); }},
        FailureCase{"NoArgumentForTwo",
                    [] { return core::formatMessage(eTestMessage::eTwoArguments); }},
        FailureCase{"TooManyArguments",
                    [] { return core::formatMessage(eTestMessage::eNoArgument, "extra"); }},
        FailureCase{"UnregisteredMessage",
                    [] { return core::formatMessage(eTestMessage::eUnregistered, 1); }},
        FailureCase{"NoMessageSelected",
                    [] {
                        core::LogMessageFormater f;
                        f % 1;
                        return f.str();
                    }}),
    [](const ::testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

// Texts installed as translations come from outside the program. Only %s and %%
// mean something; anything else is refused when the text is installed, and the
// text held before stays.
struct TextCase {
    const char* name;
    std::string text;
    const char* reason;  // nullptr: accepted
};

class MessageText : public ::testing::TestWithParam<TextCase> {};

TEST_P(MessageText, IsCheckedWhenInstalled) {
    const TextCase& c = GetParam();
    core::MessageManager& m = core::MessageManager::getInstance("TestMessages");
    const std::string enumName = "vimra::test::eTestMessage";
    const std::string before = m.getText(enumName, eTestMessage::eNoArgument);
    if (!c.reason) {
        EXPECT_FALSE(core::checkMessageText(c.text).has_value());
        ASSERT_NO_THROW(m.add(enumName, eTestMessage::eNoArgument, c.text));
        EXPECT_EQ(m.getText(enumName, eTestMessage::eNoArgument), c.text);
        m.add(enumName, eTestMessage::eNoArgument, before);
        return;
    }
    ASSERT_TRUE(core::checkMessageText(c.text).has_value());
    try {
        m.add(enumName, eTestMessage::eNoArgument, c.text);
        FAIL() << "accepted";
    } catch (const core::BaseException& e) {
        const std::string what = e.what();
        EXPECT_NE(what.find("Text of message 1 of vimra::test::eTestMessage in the domain "
                            "TestMessages refused"),
                  std::string::npos)
            << what;
        EXPECT_NE(what.find(c.reason), std::string::npos) << what;
    }
    EXPECT_EQ(m.getText(enumName, eTestMessage::eNoArgument), before);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MessageText,
    ::testing::Values(TextCase{"Plain", "no placeholder", nullptr}, TextCase{"Empty", "", nullptr},
                      TextCase{"Placeholders", "%s and %s, 100%%", nullptr},
                      TextCase{"EscapedPlaceholder", "%%s", nullptr},
                      TextCase{"OtherDirectiveBeforePercent", "%T%%",
                               "'%T' at offset 0 is not a placeholder"},
                      TextCase{"IntegerWidth", "%999999999999d", "'%9' at offset 0"},
                      TextCase{"HugeStringWidth", "x%999999999s", "'%9' at offset 1"},
                      TextCase{"Decimal", "%d", "'%d' at offset 0"},
                      TextCase{"Positional", "%1%", "'%1'"},
                      TextCase{"LonePercentAtEnd", "broken %", "ends with a lone '%'"},
                      TextCase{"PercentBeforeNul", std::string("%\0", 2), "'%\\0' at offset 0"},
                      TextCase{"Nul", std::string("a\0b", 3), "NUL byte at offset 1"}),
    [](const ::testing::TestParamInfo<TextCase>& info) { return info.param.name; });

TEST(MessageManager, MapWithAnInvalidTextIsRefusedWhole) {
    core::MessageManager& m = core::MessageManager::getInstance("RefusedDomain");
    const core::MessageEntry entries[] = {{0, "fine %s"}, {1, "width %5s"}};
    const core::MessageMapInfo map{"RefusedDomain", "eRefused", entries};
    try {
        m.addMap(map);
        FAIL() << "accepted";
    } catch (const core::BaseException& e) {
        EXPECT_NE(std::string(e.what()).find("Text of message 1 of eRefused in the domain "
                                             "RefusedDomain refused: '%5' at offset 6"),
                  std::string::npos)
            << e.what();
    }
    EXPECT_FALSE(m.isMapRegistered("eRefused"));
    EXPECT_EQ(m.getMessageCount("eRefused"), 0u);

    // Registration at load logs instead of throwing.
    const core::MessageMapInfo again{"RefusedDomain", "eRefusedAtLoad", entries};
    ScopedLogCapture capture(core::getCoreLogger());
    EXPECT_EQ(&core::registerMessageMap(again), &m);
    EXPECT_FALSE(m.isMapRegistered("eRefusedAtLoad"));
    EXPECT_EQ(capture.appender().count(log4cplus::ERROR_LOG_LEVEL,
                                       "Message table eRefusedAtLoad of the domain RefusedDomain "
                                       "is not registered: Text of message 1 of eRefusedAtLoad in "
                                       "the domain RefusedDomain refused: '%5' at offset 6 is not "
                                       "a placeholder (only %s and %% are)"),
              1u);
}

TEST(LogMessageFormater, FailureDetailIsLoggedAtDebug) {
    ScopedLogCapture capture(core::getBaseLogger(), log4cplus::DEBUG_LOG_LEVEL);
    core::LogMessageFormater f;
    f.setMsgId(eTestMessage::eTwoArguments) % "one";
    EXPECT_EQ(f.str(), s_fallback);
    EXPECT_EQ(f.str(), s_fallback);  // reported once per formatter
    const std::vector<LogRecord> records = capture.appender().records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].logger, "vimra");
    EXPECT_EQ(records[1].level, log4cplus::DEBUG_LOG_LEVEL);
    EXPECT_NE(records[1].message.find("vimra::test::eTestMessage/0"), std::string::npos)
        << records[1].message;
    ASSERT_TRUE(f.getFailure().has_value());
}

TEST(LogMessage, FormatsOnlyWhenTheLevelIsEnabled) {
    log4cplus::Logger logger = core::getLogger("vimra.test.levels");
    ScopedLogCapture capture(logger, log4cplus::WARN_LOG_LEVEL);
    std::atomic<int> writes{0};
    core::logMessage(logger, log4cplus::INFO_LOG_LEVEL, eTestMessage::eTwoArguments,
                     CountedArgument{&writes}, 2);
    EXPECT_EQ(writes.load(), 0);
    EXPECT_TRUE(capture.appender().records().empty());
    core::logMessage(logger, log4cplus::WARN_LOG_LEVEL, eTestMessage::eTwoArguments,
                     CountedArgument{&writes}, 2);
    EXPECT_EQ(writes.load(), 1);
    EXPECT_EQ(capture.appender().count(log4cplus::WARN_LOG_LEVEL, "first counted, then 2"), 1u);
}

TEST(Logging, FrameworkLoggerNames) {
    EXPECT_EQ(core::getBaseLoggerName(), "vimra");
    EXPECT_EQ(core::getBaseLogger().getName(), "vimra");
    EXPECT_EQ(core::getCoreLogger().getName(), "vimra.core");
    EXPECT_EQ(core::getSerializationLogger().getName(), "vimra.serialization");
    EXPECT_EQ(&core::getBaseLogger(), &core::getBaseLogger());
}

TEST(FrameworkMessages, TablesAreRegisteredInTheirDomains) {
    EXPECT_EQ(&core::getCoreLogMessageManager(), &core::MessageManager::getInstance("VIMRACore"));
    EXPECT_EQ(&core::getSerializationLogMessageManager(),
              &core::MessageManager::getInstance("VIMRASerialization"));
    EXPECT_EQ(core::getSerializationLogMessageManager().getMessageCount(
                  "vimra::core::eSerializationMessage"),
              26u);
    // Message 25 names the class and both versions.
    EXPECT_EQ(core::formatMessage(core::eSerializationMessage::eNewerClassVersion, "a::B", 2, 1),
              "Class a::B: the archive holds version 2, newer than the supported version 1");
}

TEST(LogMessageFormater, ConcurrentFormattingAndReplacement) {
    core::MessageManager& m = core::MessageManager::getInstance("TestMessages");
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                if (t == 0) {
                    m.add("vimra::test::eTestMessage", eTestMessage::eNumbers, "%s|%s|%s");
                } else if (core::formatMessage(eTestMessage::eNumbers, t, i, "z") !=
                           std::to_string(t) + "|" + std::to_string(i) + "|z") {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace vimra::test
