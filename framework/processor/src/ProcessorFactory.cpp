#include <vimra/processor/ProcessorFactory.h>

#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/Log.h>

#include <mutex>

namespace vimra::processor {

ProcessorFactory& ProcessorFactory::getInstance() {
    static ProcessorFactory factory;
    return factory;
}

bool ProcessorFactory::registerProcessor(const std::string& typeName, CreatorFcn creator) {
    if (typeName.empty() || !creator) {
        core::logMessage(core::getCoreLogger(), log4cplus::ERROR_LOG_LEVEL,
                         core::eCoreMessage::eProcessorRegistrationRefused, typeName);
        return false;
    }
    {
        std::unique_lock lock(m_mutex);
        auto [it, inserted] = m_creators.try_emplace(typeName, creator);
        if (inserted || it->second == creator) return true;
    }
    core::logMessage(core::getCoreLogger(), log4cplus::ERROR_LOG_LEVEL,
                     core::eCoreMessage::eProcessorRegisteredWithOtherCreator, typeName);
    return false;
}

boost::shared_ptr<BaseProcessor> ProcessorFactory::createProcessor(
    const std::string& typeName) const {
    CreatorFcn creator = nullptr;
    {
        std::shared_lock lock(m_mutex);
        auto it = m_creators.find(typeName);
        if (it != m_creators.end()) creator = it->second;
    }
    if (!creator)
        throw core::BaseException(
            core::formatMessage(core::eCoreMessage::eProcessorNotRegistered, typeName),
            "vimra::processor::ProcessorFactory::createProcessor");
    return creator();
}

bool ProcessorFactory::isRegistered(const std::string& typeName) const {
    std::shared_lock lock(m_mutex);
    return m_creators.count(typeName) != 0;
}

std::vector<std::string> ProcessorFactory::registeredTypeNames() const {
    std::shared_lock lock(m_mutex);
    std::vector<std::string> names;
    names.reserve(m_creators.size());
    for (const auto& entry : m_creators) names.push_back(entry.first);
    return names;
}

}  // namespace vimra::processor
