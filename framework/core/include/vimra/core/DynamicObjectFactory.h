#pragma once

#include <vimra/core/DynamicObject.h>

#include <boost/shared_ptr.hpp>

#include <map>
#include <shared_mutex>
#include <string>
#include <typeinfo>
#include <vector>

namespace vimra::core {

/// Creates dynamic objects by fully qualified type name. Classes register at
/// library load (DynamicRegistrator); creation may then happen from any thread.
class DynamicObjectFactory {
  public:
    using NewCreatorFcn = BaseDynamicObject* (*)();
    using SharedCreatorFcn = boost::shared_ptr<BaseDynamicObject> (*)();

    static DynamicObjectFactory& getInstance();

    DynamicObjectFactory(const DynamicObjectFactory&) = delete;
    DynamicObjectFactory& operator=(const DynamicObjectFactory&) = delete;

    /// Registers a class. Returns true when the class is registered with these
    /// creators afterwards (registering the same creators again is harmless).
    /// An empty name, a missing creator, or a name already registered with
    /// other creators is refused (false) and logged at ERROR on "vimra.core".
    bool registerClass(const std::string& typeName, NewCreatorFcn newCreatorFcn,
                       SharedCreatorFcn sharedCreatorFcn);

    /// A new object of the type, held by a shared pointer. Throws BaseException
    /// naming the type when it is not registered.
    boost::shared_ptr<BaseDynamicObject> create(const std::string& typeName) const;
    /// A new object of the type; the caller owns it. Throws as create().
    BaseDynamicObject* createNew(const std::string& typeName) const;
    /// create() cast to T; throws BaseException when the object is not a T.
    template <class T>
    boost::shared_ptr<T> createAs(const std::string& typeName) const {
        boost::shared_ptr<BaseDynamicObject> object = create(typeName);
        if (boost::shared_ptr<T> typed = boost::dynamic_pointer_cast<T>(object)) return typed;
        throwOtherType(typeName, typeid(T).name());
    }

    bool isRegistered(const std::string& typeName) const;
    /// Every registered type name, sorted.
    std::vector<std::string> registeredTypeNames() const;

  private:
    DynamicObjectFactory() = default;
    struct Creators {
        NewCreatorFcn newCreator;
        SharedCreatorFcn sharedCreator;
    };
    Creators find(const std::string& typeName) const;
    [[noreturn]] static void throwOtherType(const std::string& typeName, const char* wanted);

    mutable std::shared_mutex m_mutex;
    std::map<std::string, Creators> m_creators;
};

}  // namespace vimra::core
