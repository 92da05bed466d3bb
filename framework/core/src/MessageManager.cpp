#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>
#include <vimra/core/MessageManager.h>

#include <memory>
#include <mutex>

namespace vimra::core {

MessageManager& MessageManager::getInstance(const std::string& domain) {
    struct Registry {
        std::mutex mutex;
        std::map<std::string, std::unique_ptr<MessageManager>> managers;
    };
    // Never destroyed: messages may be formatted from other objects' destructors at exit.
    static Registry* const registry = new Registry;
    std::lock_guard<std::mutex> lock(registry->mutex);
    std::unique_ptr<MessageManager>& slot = registry->managers[domain];
    if (!slot) slot.reset(new MessageManager(domain));
    return *slot;
}

void MessageManager::add(const std::string& enumTypeName, unsigned value, const std::string& text) {
    // Checked before locking: the error is itself a message, possibly of this manager.
    if (std::optional<std::string> fault = checkMessageText(text))
        throw BaseException(
            formatMessage(eCoreMessage::eInvalidMessageText, value, enumTypeName, m_domain, *fault),
            "vimra::core::MessageManager::add");
    std::unique_lock lock(m_mutex);
    m_texts[enumTypeName][value] = text;
}

bool MessageManager::addMap(const MessageMapInfo& map) {
    for (const MessageEntry& e : map.entries) {
        if (std::optional<std::string> fault = checkMessageText(e.text))
            throw BaseException(formatMessage(eCoreMessage::eInvalidMessageText, e.value,
                                              map.enumTypeName, m_domain, *fault),
                                "vimra::core::MessageManager::addMap");
    }
    std::unique_lock lock(m_mutex);
    if (!m_registeredMaps.insert(map.enumTypeName).second) return false;
    std::map<unsigned, std::string>& texts = m_texts[map.enumTypeName];
    for (const MessageEntry& e : map.entries) texts.emplace(e.value, e.text);
    return true;
}

bool MessageManager::isMapRegistered(const std::string& enumTypeName) const {
    std::shared_lock lock(m_mutex);
    return m_registeredMaps.count(enumTypeName) != 0;
}

std::optional<std::string> MessageManager::findText(const std::string& enumTypeName,
                                                    unsigned value) const {
    std::shared_lock lock(m_mutex);
    auto type = m_texts.find(enumTypeName);
    if (type == m_texts.end()) return std::nullopt;
    auto text = type->second.find(value);
    if (text == type->second.end()) return std::nullopt;
    return text->second;
}

std::string MessageManager::getText(const std::string& enumTypeName, unsigned value) const {
    if (std::optional<std::string> text = findText(enumTypeName, value)) return *std::move(text);
    throw BaseException(
        formatMessage(eCoreMessage::eMessageNotRegistered, value, enumTypeName, m_domain),
        "vimra::core::MessageManager::getText");
}

MessageManager& registerMessageMap(const MessageMapInfo& map) {
    MessageManager& manager = MessageManager::getInstance(map.domain);
    try {
        manager.addMap(map);
    } catch (const BaseException& e) {
        logMessage(getCoreLogger(), log4cplus::ERROR_LOG_LEVEL, eCoreMessage::eMessageMapRefused,
                   map.enumTypeName, map.domain, e.getMessage());
    }
    return manager;
}

std::size_t MessageManager::getMessageCount(const std::string& enumTypeName) const {
    std::shared_lock lock(m_mutex);
    auto type = m_texts.find(enumTypeName);
    return type == m_texts.end() ? 0 : type->second.size();
}

}  // namespace vimra::core
