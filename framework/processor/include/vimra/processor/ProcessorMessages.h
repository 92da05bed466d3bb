#pragma once

#include <vimra/core/MessageManager.h>

#include <log4cplus/logger.h>

namespace vimra::processor {

/// Message domain of the processing framework.
inline constexpr const char* s_baseProcessingMessageDomain = "VIMRABaseProcessing";

/// Messages of the processing framework (processors, dispatchers, kernel tables).
struct eBaseProcessingMessage {
    enum domain : unsigned {
        eKernelRegistrationFailed = 12,
        eMandatoryAttributeNotSet = 20,
        eOutputWithoutInitializer = 21,
        eRuleFailed = 22,
        eOutputNotCreated = 23,
        eNoKernel = 24,
        eProcessorNotInitialized = 33,
        eUnknownAttribute = 34,
        eNullProcessor = 35,
        eNullArgument = 36,
        eCustomImageInfoNotInitialized = 37,
        eAttributeExpired = 38,
    };
};

const core::MessageMapInfo& getMessageMapInfo(eBaseProcessingMessage::domain);

/// "vimra.processing": the logger of the processing framework.
const log4cplus::Logger& getBaseProcessingLogger();

}  // namespace vimra::processor
