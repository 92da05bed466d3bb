#pragma once

#include <boost/thread/mutex.hpp>

namespace vimra::core {

/// Process-wide mutexes guarding the once-only statics of every class (type
/// names, tool tips and object names, versions, dispatch policies, forced
/// instruction sets, logger names). Each is a function-local static created on
/// first use under the compiler's guard and destroyed at exit.
boost::mutex& TypeNameMutex();
boost::mutex& ToolTipMutex();
boost::mutex& VersionMutex();
boost::mutex& DispatchPolicyMutex();
boost::mutex& ForcedInstructionSetsMutex();
boost::mutex& LoggerNameMutex();

}  // namespace vimra::core
