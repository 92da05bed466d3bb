#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>

namespace vimra::core {

LogMessageFormater& LogMessageFormater::setMsgId(const MessageManager& manager,
                                                 const std::string& enumTypeName, unsigned value) {
    m_format.reset();
    m_failure.reset();
    m_reported = false;
    m_messageId = manager.getDomain() + ":" + enumTypeName + "/" + std::to_string(value);
    try {
        std::optional<std::string> text = manager.findText(enumTypeName, value);
        if (!text) {
            fail("the message is not registered");
            return *this;
        }
        m_format.emplace(*text);
    } catch (const std::exception& e) {
        fail(e.what());
    }
    return *this;
}

std::string LogMessageFormater::str() const {
    if (!m_failure) {
        if (!m_format) {
            fail("no message was selected");
        } else {
            try {
                return m_format->str();
            } catch (const std::exception& e) {
                fail(e.what());
            } catch (...) {
                fail("unknown exception while formatting");
            }
        }
    }
    report();
    return s_messageFailureText;
}

void LogMessageFormater::fail(std::string reason) const {
    if (!m_failure) m_failure = std::move(reason);
}

void LogMessageFormater::report() const noexcept {
    if (m_reported) return;
    m_reported = true;
    try {
        const log4cplus::Logger& logger = getBaseLogger();
        if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
            logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, s_messageFailureText);
        // The cause, for whoever debugs the message table or its caller.
        if (logger.isEnabledFor(log4cplus::DEBUG_LOG_LEVEL))
            logger.forcedLog(log4cplus::DEBUG_LOG_LEVEL,
                             "Message " + m_messageId + ": " + m_failure.value_or(std::string()));
    } catch (...) {
        // A failing appender must not turn a contained formatting failure into an exception.
    }
}

}  // namespace vimra::core
