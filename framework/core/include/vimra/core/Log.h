#pragma once

#include <vimra/core/LogMessageFormater.h>

#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <string>
#include <type_traits>

namespace vimra::core {

/// Name of the framework's base logger, "vimra"; every framework and library
/// logger is below it ("vimra.serialization", "vimra.VIMRAIPLArithmetic", ...).
const std::string& getBaseLoggerName();

/// Name of the stderr appender of the default configuration.
inline constexpr const char* s_defaultAppenderName = "vimra-default-stderr";

/// Default configuration, applied the first time any framework logger is
/// obtained: when the application has configured no appender on the root
/// logger nor on the base logger, the base logger gets an appender writing
/// ERROR and FATAL records to stderr and its level is set to ERROR (so that
/// records below it are not even formatted). An application that configures
/// log4cplus before using the framework gets nothing added. One that configures
/// it afterwards calls removeDefaultLogConfiguration() (or resets the log4cplus
/// hierarchy) first; see docs/messages-and-logging.md.
void ensureDefaultLogConfiguration();
/// Removes the default appender and level from the base logger, if they were
/// installed, and keeps them from being installed later.
void removeDefaultLogConfiguration();
/// True when the default configuration is currently installed.
bool isDefaultLogConfigurationInstalled();

/// log4cplus::Logger::getInstance(name), after the default configuration step.
log4cplus::Logger getLogger(const std::string& name);

/// The framework's loggers, each obtained once and kept.
const log4cplus::Logger& getBaseLogger();           ///< "vimra"
const log4cplus::Logger& getCoreLogger();           ///< "vimra.core"
const log4cplus::Logger& getSerializationLogger();  ///< "vimra.serialization"

/// Logs message `id` formatted with `args`; nothing is formatted when `level`
/// is not enabled on `logger`.
template <class Id, class... Args>
requires std::is_enum_v<Id>
void logMessage(const log4cplus::Logger& logger, log4cplus::LogLevel level, Id id,
                const Args&... args) {
    if (!logger.isEnabledFor(level)) return;
    logger.forcedLog(level, formatMessage(id, args...));
}

}  // namespace vimra::core
