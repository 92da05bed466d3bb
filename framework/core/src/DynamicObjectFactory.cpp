#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/core/Log.h>

#include <boost/core/demangle.hpp>

#include <mutex>

namespace vimra::core {

DynamicObjectFactory& DynamicObjectFactory::getInstance() {
    static DynamicObjectFactory factory;
    return factory;
}

bool DynamicObjectFactory::registerClass(const std::string& typeName, NewCreatorFcn newCreatorFcn,
                                         SharedCreatorFcn sharedCreatorFcn) {
    if (typeName.empty() || !newCreatorFcn || !sharedCreatorFcn) {
        logMessage(getCoreLogger(), log4cplus::ERROR_LOG_LEVEL,
                   eCoreMessage::eTypeRegistrationRefused, typeName);
        return false;
    }
    {
        std::unique_lock lock(m_mutex);
        auto [it, inserted] =
            m_creators.try_emplace(typeName, Creators{newCreatorFcn, sharedCreatorFcn});
        if (inserted || (it->second.newCreator == newCreatorFcn &&
                         it->second.sharedCreator == sharedCreatorFcn))
            return true;
    }
    logMessage(getCoreLogger(), log4cplus::ERROR_LOG_LEVEL,
               eCoreMessage::eTypeRegisteredWithOtherCreators, typeName);
    return false;
}

DynamicObjectFactory::Creators DynamicObjectFactory::find(const std::string& typeName) const {
    {
        std::shared_lock lock(m_mutex);
        auto it = m_creators.find(typeName);
        if (it != m_creators.end()) return it->second;
    }
    throw BaseException(formatMessage(eCoreMessage::eTypeNotRegistered, typeName),
                        "vimra::core::DynamicObjectFactory");
}

boost::shared_ptr<BaseDynamicObject> DynamicObjectFactory::create(
    const std::string& typeName) const {
    return find(typeName).sharedCreator();
}

BaseDynamicObject* DynamicObjectFactory::createNew(const std::string& typeName) const {
    return find(typeName).newCreator();
}

bool DynamicObjectFactory::isRegistered(const std::string& typeName) const {
    std::shared_lock lock(m_mutex);
    return m_creators.count(typeName) != 0;
}

std::vector<std::string> DynamicObjectFactory::registeredTypeNames() const {
    std::shared_lock lock(m_mutex);
    std::vector<std::string> names;
    names.reserve(m_creators.size());
    for (const auto& entry : m_creators) names.push_back(entry.first);
    return names;
}

void DynamicObjectFactory::throwOtherType(const std::string& typeName, const char* wanted) {
    throw BaseException(formatMessage(eCoreMessage::eCreatedObjectHasOtherType, typeName,
                                      boost::core::demangle(wanted)),
                        "vimra::core::DynamicObjectFactory::createAs");
}

}  // namespace vimra::core
