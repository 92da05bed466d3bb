#pragma once

#include <string>
#include <utility>

namespace vimra::processor {

/// Outcome of a processing step: a success flag and a message (empty on success).
class BoolResult {
public:
    BoolResult() = default;
    BoolResult(bool success, std::string message) : m_success(success), m_message(std::move(message)) {}
    static BoolResult success() { return {}; }
    static BoolResult failure(std::string message) { return {false, std::move(message)}; }

    bool isSuccess() const { return m_success; }
    explicit operator bool() const { return m_success; }
    const std::string& getMessage() const { return m_message; }

private:
    bool m_success = true;
    std::string m_message;
};

/// Outcome of a processing step that also yields a value.
template <class T>
class ProcessingResult {
public:
    ProcessingResult() = default;
    ProcessingResult(bool success, T value, std::string message = {})
        : m_success(success), m_value(std::move(value)), m_message(std::move(message)) {}
    static ProcessingResult success(T value) { return {true, std::move(value)}; }
    static ProcessingResult failure(std::string message) { return {false, T{}, std::move(message)}; }

    bool isSuccess() const { return m_success; }
    explicit operator bool() const { return m_success; }
    const T& getValue() const { return m_value; }
    const std::string& getMessage() const { return m_message; }
    BoolResult toBoolResult() const { return {m_success, m_message}; }

private:
    bool m_success = true;
    T m_value{};
    std::string m_message;
};

}  // namespace vimra::processor
