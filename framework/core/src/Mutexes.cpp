#include <vimra/core/Mutexes.h>

namespace vimra::core {

boost::mutex& TypeNameMutex() {
    static boost::mutex m;
    return m;
}
boost::mutex& ToolTipMutex() {
    static boost::mutex m;
    return m;
}
boost::mutex& VersionMutex() {
    static boost::mutex m;
    return m;
}
boost::mutex& DispatchPolicyMutex() {
    static boost::mutex m;
    return m;
}
boost::mutex& ForcedInstructionSetsMutex() {
    static boost::mutex m;
    return m;
}
boost::mutex& LoggerNameMutex() {
    static boost::mutex m;
    return m;
}

}  // namespace vimra::core
