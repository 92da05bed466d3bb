#pragma once

#include <vimra/core/MessageManager.h>

#include <boost/format.hpp>

#include <exception>
#include <optional>
#include <string>
#include <type_traits>

namespace vimra::core {

/// What a message reads when it could not be formatted.
inline constexpr const char* s_messageFailureText = "Exception thrown while processing message";

/// Formats one registered message: the text of the message is looked up in its
/// domain's manager and its "%s" placeholders are filled, in order, with the
/// arguments fed through operator% (Boost.Format rules).
///
///     LogMessageFormater f;
///     f.setMsgId(eSerializationMessage::eItemNotFound) % sectionPath % itemName;
///     std::string text = f.str();
///
/// Formatting never throws: a missing text, a text that is not a valid format,
/// or a wrong number of arguments makes str() log s_messageFailureText at ERROR
/// level on the framework's base logger and return that text. Text supplied by
/// users (a formula, a file name) must only ever be an argument, never a text.
class LogMessageFormater {
  public:
    LogMessageFormater() = default;

    /// Selects the message `id` of a registered enumeration (see MessageMapInfo).
    template <class Id>
    requires std::is_enum_v<Id> LogMessageFormater& setMsgId(Id id) {
        return setMsgId(registeredMessageManager<Id>(), messageMapOf<Id>().enumTypeName,
                        static_cast<unsigned>(id));
    }
    /// Selects the message `value` of `enumTypeName` held by `manager`.
    LogMessageFormater& setMsgId(const MessageManager& manager, const std::string& enumTypeName,
                                 unsigned value);

    /// Feeds the next argument.
    template <class T>
    LogMessageFormater& operator%(const T& argument) {
        if (m_failure) return *this;
        if (!m_format) {
            fail("an argument was given before a message was selected");
            return *this;
        }
        try {
            *m_format % argument;
        } catch (const std::exception& e) {
            fail(e.what());
        } catch (...) {
            fail("unknown exception while feeding an argument");
        }
        return *this;
    }

    /// The formatted message, or s_messageFailureText (logged once) on failure.
    std::string str() const;

    /// Why formatting failed, once str() has reported a failure; empty otherwise.
    const std::optional<std::string>& getFailure() const { return m_failure; }

  private:
    void fail(std::string reason) const;
    void report() const noexcept;

    std::optional<boost::format> m_format;
    std::string m_messageId;  ///< "<enumeration>/<value>", for the failure report
    mutable std::optional<std::string> m_failure;
    mutable bool m_reported = false;
};

/// The message `id` formatted with `args` (see LogMessageFormater).
template <class Id, class... Args>
requires std::is_enum_v<Id> std::string formatMessage(Id id, const Args&... args) {
    LogMessageFormater formater;
    formater.setMsgId(id);
    ((formater % args), ...);
    return formater.str();
}

}  // namespace vimra::core
