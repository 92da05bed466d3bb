#pragma once

// Collects the log records that reach a logger, for tests.

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace vimra::test {

struct LogRecord {
    log4cplus::LogLevel level;
    std::string logger;
    std::string message;
};

class CaptureAppender : public log4cplus::Appender {
  public:
    CaptureAppender() { setName("test-capture"); }
    ~CaptureAppender() override { destructorImpl(); }
    void close() override {}

    std::vector<LogRecord> records() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    std::size_t count(log4cplus::LogLevel level, const std::string& message) const {
        std::size_t n = 0;
        for (const LogRecord& r : records()) n += r.level == level && r.message == message;
        return n;
    }

  protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back({event.getLogLevel(), event.getLoggerName(), event.getMessage()});
    }

  private:
    mutable std::mutex m_mutex;
    std::vector<LogRecord> m_records;
};

/// Attaches a CaptureAppender to a logger for the lifetime of the object and,
/// optionally, sets the logger's level; both are undone on destruction.
class ScopedLogCapture {
  public:
    explicit ScopedLogCapture(log4cplus::Logger logger,
                              log4cplus::LogLevel level = log4cplus::NOT_SET_LOG_LEVEL)
        : m_logger(std::move(logger)),
          m_previousLevel(m_logger.getLogLevel()),
          m_appender(new CaptureAppender) {
        if (level != log4cplus::NOT_SET_LOG_LEVEL) m_logger.setLogLevel(level);
        m_logger.addAppender(log4cplus::SharedAppenderPtr(m_appender.get()));
    }
    ~ScopedLogCapture() {
        m_logger.removeAppender(log4cplus::SharedAppenderPtr(m_appender.get()));
        m_logger.setLogLevel(m_previousLevel);
    }
    ScopedLogCapture(const ScopedLogCapture&) = delete;
    ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

    const CaptureAppender& appender() const { return *m_appender; }

  private:
    log4cplus::Logger m_logger;
    log4cplus::LogLevel m_previousLevel;
    log4cplus::helpers::SharedObjectPtr<CaptureAppender> m_appender;
};

}  // namespace vimra::test
