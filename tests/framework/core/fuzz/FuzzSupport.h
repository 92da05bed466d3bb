#pragma once

#include <vimra/core/Log.h>

namespace vimra::test {

// Millions of refused inputs would each log at ERROR: fuzz entry points turn the
// framework's logging off once, before their first input.
inline void silenceFrameworkLogging() {
    static const bool silenced = [] {
        core::removeDefaultLogConfiguration();
        log4cplus::Logger base = core::getBaseLogger();
        base.setLogLevel(log4cplus::OFF_LOG_LEVEL);
        return true;
    }();
    (void)silenced;
}

}  // namespace vimra::test
