#pragma once

#include <exception>
#include <string>

namespace vimra::core {

/// Root of every exception raised by the framework and the libraries built on it.
/// Carries the formatted message and, optionally, a context naming where it was raised.
class BaseException : public std::exception {
public:
    explicit BaseException(std::string message, std::string context = {})
        : m_message(std::move(message)), m_context(std::move(context)) {}

    const char* what() const noexcept override { return m_message.c_str(); }
    const std::string& getMessage() const noexcept { return m_message; }
    const std::string& getContext() const noexcept { return m_context; }

private:
    std::string m_message;
    std::string m_context;
};

/// Raised by archives: malformed input, missing section or item, wrong item type, newer version.
class SerializationException : public BaseException {
public:
    using BaseException::BaseException;
};

}  // namespace vimra::core
