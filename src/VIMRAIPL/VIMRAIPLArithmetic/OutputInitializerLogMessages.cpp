#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializerLogMessages.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/VIMRAIPLArithmeticLog.h>

#include <vimra/core/MessageManager.h>
#include <vimra/core/Registrators.h>

namespace vimra::imaproc::arithm {

namespace {

constexpr core::MessageEntry s_outputInitializerMessages[] = {
    {eOutputInitializerMessage::eAttributeExpired,
     "Attribute weak pointer has expired, can't get it"},
    {eOutputInitializerMessage::eInvalidFormula,
     "Input image formula %s is not valid, can't extract result type from formula and initialize "
     "associated output image\n%s"},
    {eOutputInitializerMessage::eFormulaWithoutInputImage,
     "Image formula {%s} should be based at least on an input image if automatic output image "
     "initialization is requested"},
    {eOutputInitializerMessage::eNullInputAttribute, "Input attribute should not be null"},
    {eOutputInitializerMessage::eEnumerateValueNotSupported,
     "Enumerate value %s is not yet supported"},
};
static_assert(std::size(s_outputInitializerMessages) == eOutputInitializerMessage::s_count);

// Registers the map when the library is loaded.
const core::MsgMapRegistrator<eOutputInitializerMessage> g_outputInitializerMessageRegistrator;

}  // namespace

const core::MessageMapInfo& getMessageMapInfo(eOutputInitializerMessage::domain) {
    static const core::MessageMapInfo info{s_VIMRAIPLArithmeticMessageDomain,
                                           "vimra::imaproc::arithm::eOutputInitializerMessage",
                                           s_outputInitializerMessages};
    return info;
}

}  // namespace vimra::imaproc::arithm
