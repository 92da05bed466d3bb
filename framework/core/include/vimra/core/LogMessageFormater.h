#pragma once

#include <vimra/core/MessageManager.h>

#include <cstddef>
#include <exception>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vimra::core {

/// What a message reads when it could not be formatted.
inline constexpr const char* s_messageFailureText = "Exception thrown while processing message";

/// Why `text` cannot be a message text, or nothing when it can. A message text
/// is plain text in which "%s" stands for the next argument and "%%" for a
/// percent sign; any other '%' and any NUL byte (messages travel as C strings)
/// are refused. MessageManager checks every text it is given.
std::optional<std::string> checkMessageText(std::string_view text);

/// Formats one registered message: the text of the message is looked up in its
/// domain's manager and its "%s" placeholders are filled, in order, with the
/// arguments fed through operator% (each written as operator<< writes it, a NUL
/// byte in it as the two characters \0).
///
///     LogMessageFormater f;
///     f.setMsgId(eSerializationMessage::eItemNotFound) % sectionPath % itemName;
///     std::string text = f.str();
///
/// Formatting never throws: a missing text, a text that is not a valid message
/// text, or a wrong number of arguments makes str() log s_messageFailureText at
/// ERROR level on the framework's base logger and return that text. Text
/// supplied by users (a formula, a file name) must only ever be an argument,
/// never a text.
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
        try {
            addArgument(render(argument));
        } catch (const std::exception& e) {
            fail(e.what());
        } catch (...) {
            fail("unknown exception while writing an argument");
        }
        return *this;
    }

    /// The formatted message, or s_messageFailureText (logged once) on failure.
    std::string str() const;

    /// Why formatting failed, once str() has reported a failure; empty otherwise.
    const std::optional<std::string>& getFailure() const { return m_failure; }

  private:
    template <class T>
    static std::string render(const T& argument) {
        if constexpr (std::is_pointer_v<T> && std::is_convertible_v<T, const char*>) {
            return argument ? std::string(argument) : std::string("(null)");
        } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
            return std::string(std::string_view(argument));
        } else {
            std::ostringstream out;
            out << argument;
            return std::move(out).str();
        }
    }
    void addArgument(std::string text);
    void fail(std::string reason) const;
    void report() const noexcept;

    std::optional<std::string> m_text;
    std::size_t m_placeholders = 0;
    std::vector<std::string> m_arguments;
    std::string m_messageId;  ///< "<domain>:<enumeration>/<value>", for the failure report
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
