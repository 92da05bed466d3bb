#pragma once

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/core/MessageManager.h>

namespace vimra::core {

/// Registers T with the object factory under T::getTypeName(), with
/// T::createNewObject and T::createSharedObject as creators.
///
/// The static member g_classRegistrator does it when the library is loaded; a
/// class file brings it into being with an explicit instantiation:
///     template class vimra::core::DynamicRegistrator<MyClass>;
/// (or by odr-using &DynamicRegistrator<MyClass>::g_classRegistrator).
template <class T>
class DynamicRegistrator {
  public:
    DynamicRegistrator()
        : m_registered(DynamicObjectFactory::getInstance().registerClass(
              T::getTypeName(), &T::createNewObject, &T::createSharedObject)) {}

    bool isRegistered() const { return m_registered; }

    static const DynamicRegistrator g_classRegistrator;

  private:
    bool m_registered;
};

template <class T>
const DynamicRegistrator<T> DynamicRegistrator<T>::g_classRegistrator;

/// Registers the texts of message enumeration E (see MessageMapInfo) with the
/// manager of its domain. Each message file defines one static object of it,
/// which registers the map when the library is loaded:
///     const vimra::core::MsgMapRegistrator<eMyMessage> g_myMessageRegistrator;
template <class E>
class MsgMapRegistrator {
  public:
    MsgMapRegistrator() { registerMap(); }
    /// The registration function; only the first call in the process adds texts.
    static void registerMap() { registeredMessageManager<MessageIdOf_t<E>>(); }
};

/// The process step that every class file runs at load: makes sure E's map is
/// registered, whatever the order in which the library's files are initialised.
template <class E>
struct MessageMapRegistrator {
    static bool process() {
        MsgMapRegistrator<E>::registerMap();
        return true;
    }
};

}  // namespace vimra::core
