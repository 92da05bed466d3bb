#pragma once

#include <boost/shared_ptr.hpp>

#include <map>
#include <shared_mutex>
#include <string>
#include <vector>

namespace vimra::processor {

class BaseProcessor;

/// Creates processors by fully qualified type name. Classes register at library
/// load (ProcessorRegistrator); creation may then happen from any thread.
class ProcessorFactory {
  public:
    using CreatorFcn = boost::shared_ptr<BaseProcessor> (*)();

    static ProcessorFactory& getInstance();

    ProcessorFactory(const ProcessorFactory&) = delete;
    ProcessorFactory& operator=(const ProcessorFactory&) = delete;

    /// Registers T under T::getTypeName() with T::createBaseProcessor as creator.
    template <class T>
    bool registerProcessor() {
        return registerProcessor(T::getTypeName(), &T::createBaseProcessor);
    }
    /// Returns true when the type is registered with this creator afterwards
    /// (registering the same creator again is harmless). An empty name, a
    /// missing creator, or a name registered with another creator is refused
    /// (false) and logged at ERROR on "vimra.core".
    bool registerProcessor(const std::string& typeName, CreatorFcn creator);

    /// A new, uninitialised processor of the type. Throws core::BaseException
    /// naming the type when it is not registered.
    boost::shared_ptr<BaseProcessor> createProcessor(const std::string& typeName) const;

    bool isRegistered(const std::string& typeName) const;
    /// Every registered type name, sorted.
    std::vector<std::string> registeredTypeNames() const;

  private:
    ProcessorFactory() = default;

    mutable std::shared_mutex m_mutex;
    std::map<std::string, CreatorFcn> m_creators;
};

/// Makes T creatable through the processor factory when the library is loaded.
/// The flag is brought into being by an explicit instantiation in T's file,
///     template struct vimra::processor::ProcessorRegistrator<MyClass>;
/// (or by odr-using ProcessorRegistrator<MyClass>::g_bProcessorRegistrator).
template <class T>
struct ProcessorRegistrator {
    static const bool g_bProcessorRegistrator;
};

template <class T>
const bool ProcessorRegistrator<T>::g_bProcessorRegistrator =
    ProcessorFactory::getInstance().registerProcessor<T>();

}  // namespace vimra::processor
