#include <vimra/processor/ProcessorMessages.h>

#include <vimra/core/Log.h>
#include <vimra/core/Registrators.h>

namespace vimra::processor {

namespace {

constexpr core::MessageEntry s_messages[] = {
    {eBaseProcessingMessage::eKernelRegistrationFailed, "Kernel registration failed: %s"},
    {eBaseProcessingMessage::eMandatoryAttributeNotSet, "%s: mandatory attribute %s is not set"},
    {eBaseProcessingMessage::eOutputWithoutInitializer,
     "%s: output attribute %s is not set and the processor cannot create it"},
    {eBaseProcessingMessage::eRuleFailed, "%s: rule %s failed: %s"},
    {eBaseProcessingMessage::eOutputNotCreated, "%s: output %s could not be created: %s"},
    {eBaseProcessingMessage::eNoKernel,
     "%s: no kernel is registered for the buffer types %s with the usable instruction sets"},
    {eBaseProcessingMessage::eProcessorNotInitialized,
     "Processor %s is not initialised: call init() before %s"},
    {eBaseProcessingMessage::eUnknownAttribute, "Processor %s has no attribute %s"},
    {eBaseProcessingMessage::eNullProcessor, "%s called with a null processor"},
    {eBaseProcessingMessage::eNullArgument, "%s: argument %s is null"},
    {eBaseProcessingMessage::eCustomImageInfoNotInitialized,
     "%s: the output image description is not initialised"},
    {eBaseProcessingMessage::eAttributeExpired, "%s: an attribute the output is described from has expired"},
};

const core::MsgMapRegistrator<eBaseProcessingMessage> g_registrator;

}  // namespace

const core::MessageMapInfo& getMessageMapInfo(eBaseProcessingMessage::domain) {
    static const core::MessageMapInfo info{s_baseProcessingMessageDomain, "vimra::processor::eBaseProcessingMessage",
                                           s_messages};
    return info;
}

const log4cplus::Logger& getBaseProcessingLogger() {
    static const log4cplus::Logger& logger = *new log4cplus::Logger(core::getLogger(core::getBaseLoggerName() + ".processing"));
    return logger;
}

}  // namespace vimra::processor
