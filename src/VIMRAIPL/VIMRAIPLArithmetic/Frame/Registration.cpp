#include "Registration.h"

namespace vimra::imaproc::arithm::detail {

void ensureSharedMutexes() {
    core::TypeNameMutex();
    core::ToolTipMutex();
    core::VersionMutex();
    core::DispatchPolicyMutex();
    core::ForcedInstructionSetsMutex();
}

}  // namespace vimra::imaproc::arithm::detail
