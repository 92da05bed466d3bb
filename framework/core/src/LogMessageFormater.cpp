#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>

namespace vimra::core {

namespace {

// The placeholders of a text that checkMessageText accepted.
std::size_t countPlaceholders(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != '%') continue;
        count += text[i + 1] == 's';
        ++i;
    }
    return count;
}

}  // namespace

std::optional<std::string> checkMessageText(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\0') return "it holds a NUL byte at offset " + std::to_string(i);
        if (text[i] != '%') continue;
        if (i + 1 == text.size()) return "it ends with a lone '%' (write %% for a percent sign)";
        const char next = text[i + 1];
        if (next != 's' && next != '%') {
            std::string shown = next == '\0' ? std::string("\\0") : std::string(1, next);
            return "'%" + shown + "' at offset " + std::to_string(i) +
                   " is not a placeholder (only %s and %% are)";
        }
        ++i;
    }
    return std::nullopt;
}

LogMessageFormater& LogMessageFormater::setMsgId(const MessageManager& manager,
                                                 const std::string& enumTypeName, unsigned value) {
    m_text.reset();
    m_placeholders = 0;
    m_arguments.clear();
    m_failure.reset();
    m_reported = false;
    try {
        m_messageId = manager.getDomain() + ":" + enumTypeName + "/" + std::to_string(value);
        std::optional<std::string> text = manager.findText(enumTypeName, value);
        if (!text) {
            fail("the message is not registered");
            return *this;
        }
        // Managers refuse bad texts; checked again because the text is all this class trusts.
        if (std::optional<std::string> fault = checkMessageText(*text)) {
            fail("invalid message text: " + *fault);
            return *this;
        }
        m_placeholders = countPlaceholders(*text);
        m_text = std::move(text);
    } catch (const std::exception& e) {
        fail(e.what());
    }
    return *this;
}

void LogMessageFormater::addArgument(std::string text) {
    if (!m_text) {
        fail("an argument was given before a message was selected");
        return;
    }
    if (m_arguments.size() == m_placeholders) {
        fail("too many arguments: the text has " + std::to_string(m_placeholders) +
             " placeholder(s)");
        return;
    }
    // A NUL would cut the message wherever it is used as a C string (what(), log records).
    std::string::size_type nul = text.find('\0');
    while (nul != std::string::npos) {
        text.replace(nul, 1, "\\0");
        nul = text.find('\0', nul + 2);
    }
    m_arguments.push_back(std::move(text));
}

std::string LogMessageFormater::str() const {
    if (!m_failure) {
        if (!m_text) {
            fail("no message was selected");
        } else if (m_arguments.size() != m_placeholders) {
            fail("too few arguments: the text has " + std::to_string(m_placeholders) +
                 " placeholder(s), " + std::to_string(m_arguments.size()) + " given");
        } else {
            try {
                const std::string& text = *m_text;
                std::string out;
                out.reserve(text.size());
                std::size_t next = 0;
                for (std::size_t i = 0; i < text.size(); ++i) {
                    if (text[i] != '%') {
                        out += text[i];
                    } else if (text[++i] == '%') {
                        out += '%';
                    } else {
                        out += m_arguments[next++];
                    }
                }
                return out;
            } catch (const std::exception& e) {
                fail(e.what());
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
