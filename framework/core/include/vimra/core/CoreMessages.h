#pragma once

#include <vimra/core/MessageManager.h>

namespace vimra::core {

/// Message domains of the framework.
inline constexpr const char* s_coreMessageDomain = "VIMRACore";
inline constexpr const char* s_serializationMessageDomain = "VIMRASerialization";

/// Messages of the object and processor factories and of the message manager.
struct eCoreMessage {
    enum domain : unsigned {
        eTypeNotRegistered = 0,
        eTypeRegisteredWithOtherCreators = 1,
        eTypeRegistrationRefused = 2,
        eMessageNotRegistered = 3,
        eProcessorNotRegistered = 4,
        eProcessorRegisteredWithOtherCreator = 5,
        eProcessorRegistrationRefused = 6,
        eCreatedObjectHasOtherType = 7,
        eInvalidMessageText = 8,
        eMessageMapRefused = 9,
    };
};

/// Messages of the archives and of the serialisation of attributes and classes.
struct eSerializationMessage {
    enum domain : unsigned {
        eInvalidName = 0,
        eNoOpenSection = 1,
        eItemWrittenTwice = 2,
        eSectionsStillOpen = 3,
        eStreamWriteFailed = 4,
        eStreamReadFailed = 5,
        eNotWellFormed = 6,
        eNestedTooDeep = 7,
        eWrongRootElement = 8,
        eUnsupportedFormat = 9,
        eUnexpectedElement = 10,
        eElementWithoutName = 11,
        eUnknownItemType = 12,
        eItemWithElements = 13,
        eInvalidItemValue = 14,
        eItemInDocumentTwice = 15,
        eSectionNotFound = 16,
        eItemNotFound = 17,
        eWrongItemType = 18,
        eNoClassVersion = 19,
        eUnexpectedXmlAttribute = 20,
        eInvalidImageDescription = 21,
        eInvalidBufferType = 22,
        eValueOutOfRange = 23,
        eItemWithoutType = 24,
        eNewerClassVersion = 25,
    };
};

const MessageMapInfo& getMessageMapInfo(eCoreMessage::domain);
const MessageMapInfo& getMessageMapInfo(eSerializationMessage::domain);

/// The managers of the two framework domains, with their maps registered.
MessageManager& getCoreLogMessageManager();
MessageManager& getSerializationLogMessageManager();

}  // namespace vimra::core
