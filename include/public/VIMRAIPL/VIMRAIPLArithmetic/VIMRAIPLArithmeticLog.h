#pragma once

#include <log4cplus/logger.h>

#include <string>

namespace vimra::core {
class MessageManager;
}

namespace vimra::imaproc::arithm {

/// The library's message domain: every message enumeration of the library is
/// registered with the manager of this domain.
inline constexpr const char* s_VIMRAIPLArithmeticMessageDomain = "VIMRAIPLArithmetic";

/// The framework's base logger name followed by ".VIMRAIPLArithmetic"; built once.
const std::string& getVIMRAIPLArithmeticLoggerName();
/// The library's logger (log4cplus::Logger::getInstance of that name); obtained once.
const log4cplus::Logger& getVIMRAIPLArithmeticLogger();
/// The shared message manager of the library's domain; obtained once.
core::MessageManager& getVIMRAIPLArithmeticLogMessageManager();

}  // namespace vimra::imaproc::arithm
