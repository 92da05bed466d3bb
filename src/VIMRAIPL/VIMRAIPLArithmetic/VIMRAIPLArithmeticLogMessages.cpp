#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLog.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLogMessages.h>

#include <vimra/core/MessageManager.h>
#include <vimra/core/Registrators.h>

namespace vimra::imaproc::arithm {

namespace {

// Registers the (empty) map when the library is loaded, so that the enumeration
// is known to the library's message manager.
const core::MsgMapRegistrator<eVIMRAIPLArithmeticMessage> g_libraryMessageRegistrator;

}  // namespace

const core::MessageMapInfo& getMessageMapInfo(eVIMRAIPLArithmeticMessage::domain) {
    static const core::MessageMapInfo info{s_VIMRAIPLArithmeticMessageDomain,
                                           "vimra::imaproc::arithm::eVIMRAIPLArithmeticMessage",
                                           {}};
    return info;
}

}  // namespace vimra::imaproc::arithm
