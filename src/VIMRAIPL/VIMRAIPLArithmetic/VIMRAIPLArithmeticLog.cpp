#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLog.h>

#include <vimra/core/Log.h>
#include <vimra/core/MessageManager.h>
#include <vimra/core/Mutexes.h>

#include <boost/thread/lock_guard.hpp>

namespace vimra::imaproc::arithm {

namespace {

// The logger-name mutex exists before any thread can ask for the library's logger.
[[maybe_unused]] const bool g_loggerNameMutexCreated = (core::LoggerNameMutex(), true);

}  // namespace

const std::string& getVIMRAIPLArithmeticLoggerName() {
    static const std::string name = [] {
        const std::string& base = core::getBaseLoggerName();  // takes the mutex itself
        boost::lock_guard<boost::mutex> lock(core::LoggerNameMutex());
        return base + ".VIMRAIPLArithmetic";
    }();
    return name;
}

const log4cplus::Logger& getVIMRAIPLArithmeticLogger() {
    // Kept on the heap and never destroyed: other objects may log from their
    // destructors at exit.
    static const log4cplus::Logger& logger =
        *new log4cplus::Logger(core::getLogger(getVIMRAIPLArithmeticLoggerName()));
    return logger;
}

core::MessageManager& getVIMRAIPLArithmeticLogMessageManager() {
    static core::MessageManager& manager =
        core::MessageManager::getInstance(s_VIMRAIPLArithmeticMessageDomain);
    return manager;
}

}  // namespace vimra::imaproc::arithm
