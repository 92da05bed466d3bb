#include <vimra/core/CoreMessages.h>
#include <vimra/core/Registrators.h>

namespace vimra::core {

namespace {

constexpr MessageEntry s_coreMessages[] = {
    {eCoreMessage::eTypeNotRegistered, "Type %s is not registered in the object factory"},
    {eCoreMessage::eTypeRegisteredWithOtherCreators,
     "Type %s is already registered in the object factory with other creators; the new "
     "registration is ignored"},
    {eCoreMessage::eTypeRegistrationRefused,
     "Object factory registration of \"%s\" refused: empty type name or missing creator"},
    {eCoreMessage::eMessageNotRegistered, "Message %s of %s is not registered in the domain %s"},
    {eCoreMessage::eProcessorNotRegistered, "Type %s is not registered in the processor factory"},
    {eCoreMessage::eProcessorRegisteredWithOtherCreator,
     "Type %s is already registered in the processor factory with another creator; the new "
     "registration is ignored"},
    {eCoreMessage::eProcessorRegistrationRefused,
     "Processor factory registration of \"%s\" refused: empty type name or missing creator"},
    {eCoreMessage::eCreatedObjectHasOtherType, "Object created for type %s is not a %s"},
    {eCoreMessage::eInvalidMessageText, "Text of message %s of %s in the domain %s refused: %s"},
    {eCoreMessage::eMessageMapRefused, "Message table %s of the domain %s is not registered: %s"},
};

constexpr MessageEntry s_serializationMessages[] = {
    {eSerializationMessage::eInvalidName,
     "Invalid %s name \"%s\": names must be non-empty and hold no control character"},
    {eSerializationMessage::eNoOpenSection, "endSection called with no open section"},
    {eSerializationMessage::eItemWrittenTwice, "Item \"%s\" is written twice in section %s"},
    {eSerializationMessage::eSectionsStillOpen,
     "The archive still has %s open section(s), the innermost being %s"},
    {eSerializationMessage::eStreamWriteFailed, "Writing the archive to its stream failed"},
    {eSerializationMessage::eStreamReadFailed, "Reading the archive from its stream failed"},
    {eSerializationMessage::eNotWellFormed, "The archive is not well-formed XML: %s (line %s)"},
    {eSerializationMessage::eNestedTooDeep, "The archive nests elements deeper than %s levels"},
    {eSerializationMessage::eWrongRootElement,
     "The archive's root element must be a single <%s>, found %s"},
    {eSerializationMessage::eUnsupportedFormat,
     "The archive's format version \"%s\" is not supported (this reader reads version %s)"},
    {eSerializationMessage::eUnexpectedElement, "Unexpected element <%s> in section %s"},
    {eSerializationMessage::eElementWithoutName, "A <%s> element in section %s has no name"},
    {eSerializationMessage::eUnknownItemType,
     "Item \"%s\" in section %s has an unknown type \"%s\""},
    {eSerializationMessage::eItemWithElements, "Item \"%s\" in section %s contains elements"},
    {eSerializationMessage::eInvalidItemValue,
     "Item \"%s\" in section %s: \"%s\" is not a valid %s value"},
    {eSerializationMessage::eItemInDocumentTwice, "Item \"%s\" appears twice in section %s"},
    {eSerializationMessage::eSectionNotFound, "Section %s has no unread section \"%s\""},
    {eSerializationMessage::eItemNotFound, "Section %s has no item \"%s\""},
    {eSerializationMessage::eWrongItemType,
     "Item \"%s\" in section %s holds a %s value, read as %s"},
    {eSerializationMessage::eNoClassVersion, "No version is recorded for class %s in this archive"},
    {eSerializationMessage::eUnexpectedXmlAttribute,
     "Unexpected XML attribute \"%s\" on a <%s> element in section %s"},
    {eSerializationMessage::eInvalidImageDescription,
     "Attribute %s: the archived image description is not valid: %s"},
    {eSerializationMessage::eInvalidBufferType,
     "Attribute %s: %s is not a valid image buffer type"},
    {eSerializationMessage::eValueOutOfRange, "Attribute %s: %s is out of the range of a %s"},
    {eSerializationMessage::eItemWithoutType, "Item \"%s\" in section %s has no type"},
    {eSerializationMessage::eNewerClassVersion,
     "Class %s: the archive holds version %s, newer than the supported version %s"},
};

// Both maps are registered when the library is loaded.
const MsgMapRegistrator<eCoreMessage> g_coreMessageRegistrator;
const MsgMapRegistrator<eSerializationMessage> g_serializationMessageRegistrator;

}  // namespace

const MessageMapInfo& getMessageMapInfo(eCoreMessage::domain) {
    static const MessageMapInfo info{s_coreMessageDomain, "vimra::core::eCoreMessage",
                                     s_coreMessages};
    return info;
}

const MessageMapInfo& getMessageMapInfo(eSerializationMessage::domain) {
    static const MessageMapInfo info{s_serializationMessageDomain,
                                     "vimra::core::eSerializationMessage", s_serializationMessages};
    return info;
}

MessageManager& getCoreLogMessageManager() {
    return registeredMessageManager<eCoreMessage>();
}

MessageManager& getSerializationLogMessageManager() {
    return registeredMessageManager<eSerializationMessage>();
}

}  // namespace vimra::core
