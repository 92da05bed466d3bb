#include <vimra/core/Log.h>
#include <vimra/core/Mutexes.h>

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <boost/thread/lock_guard.hpp>

#include <atomic>
#include <memory>
#include <mutex>

namespace vimra::core {

namespace {

enum class eDefaultState { eUndecided, eInstalled, eNotInstalled };

struct DefaultConfiguration {
    std::mutex mutex;
    std::atomic<bool> decided{false};
    eDefaultState state = eDefaultState::eUndecided;
};

DefaultConfiguration& defaultConfiguration() {
    static DefaultConfiguration* const configuration = new DefaultConfiguration;
    return *configuration;
}

// Loggers are kept on the heap and never destroyed, so that objects logging
// from their destructors at exit still find them.
const log4cplus::Logger& keptLogger(const std::string& name) {
    return *new log4cplus::Logger(getLogger(name));
}

}  // namespace

const std::string& getBaseLoggerName() {
    boost::lock_guard<boost::mutex> lock(LoggerNameMutex());
    static const std::string name = "vimra";
    return name;
}

void ensureDefaultLogConfiguration() {
    DefaultConfiguration& config = defaultConfiguration();
    if (config.decided.load(std::memory_order_acquire)) return;
    const std::string& baseName = getBaseLoggerName();
    std::lock_guard<std::mutex> lock(config.mutex);
    if (config.state != eDefaultState::eUndecided) return;

    log4cplus::Logger base = log4cplus::Logger::getInstance(baseName);
    const bool configured =
        !log4cplus::Logger::getRoot().getAllAppenders().empty() || !base.getAllAppenders().empty();
    if (configured) {
        config.state = eDefaultState::eNotInstalled;
    } else {
        log4cplus::SharedAppenderPtr appender(
            new log4cplus::ConsoleAppender(/*logToStdErr=*/true, /*immediateFlush=*/true));
        appender->setName(s_defaultAppenderName);
        appender->setThreshold(log4cplus::ERROR_LOG_LEVEL);
        appender->setLayout(
            std::make_unique<log4cplus::PatternLayout>("%D{%Y-%m-%d %H:%M:%S} %-5p %c - %m%n"));
        base.addAppender(appender);
        base.setLogLevel(log4cplus::ERROR_LOG_LEVEL);
        config.state = eDefaultState::eInstalled;
    }
    config.decided.store(true, std::memory_order_release);
}

void removeDefaultLogConfiguration() {
    DefaultConfiguration& config = defaultConfiguration();
    const std::string& baseName = getBaseLoggerName();
    std::lock_guard<std::mutex> lock(config.mutex);
    if (config.state == eDefaultState::eInstalled) {
        log4cplus::Logger base = log4cplus::Logger::getInstance(baseName);
        base.removeAppender(s_defaultAppenderName);
        base.setLogLevel(log4cplus::NOT_SET_LOG_LEVEL);
    }
    config.state = eDefaultState::eNotInstalled;
    config.decided.store(true, std::memory_order_release);
}

bool isDefaultLogConfigurationInstalled() {
    DefaultConfiguration& config = defaultConfiguration();
    std::lock_guard<std::mutex> lock(config.mutex);
    return config.state == eDefaultState::eInstalled;
}

log4cplus::Logger getLogger(const std::string& name) {
    ensureDefaultLogConfiguration();
    return log4cplus::Logger::getInstance(name);
}

const log4cplus::Logger& getBaseLogger() {
    static const log4cplus::Logger& logger = keptLogger(getBaseLoggerName());
    return logger;
}

const log4cplus::Logger& getCoreLogger() {
    static const log4cplus::Logger& logger = keptLogger(getBaseLoggerName() + ".core");
    return logger;
}

const log4cplus::Logger& getSerializationLogger() {
    static const log4cplus::Logger& logger = keptLogger(getBaseLoggerName() + ".serialization");
    return logger;
}

}  // namespace vimra::core
