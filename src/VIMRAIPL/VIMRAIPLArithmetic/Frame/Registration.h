#pragma once

// What every class file registers when the library is loaded, written once.
// A class file holds one `const ClassRegistration<Class> registration;`, the
// standard level-3 file a `const Lvl3Registration<Class> registration;`.

#include "../Kernel/KernelTables.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/ProcessorLogMessages.h>

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/core/Mutexes.h>
#include <vimra/core/Registrators.h>
#include <vimra/processor/ProcessorFactory.h>

namespace vimra::imaproc::arithm {

namespace detail {
/// Creates the process-wide mutexes before anything that may need them.
void ensureSharedMutexes();
}  // namespace detail

/// Static initialiser of a level-1, level-2 or GPU level-3 class file.
template <class T>
class ClassRegistration {
public:
    ClassRegistration() {
        detail::ensureSharedMutexes();
        registerWithFactories();
    }

private:
    void registerWithFactories();
};

/// Static initialiser of a standard level-3 class file: the class, then its
/// standard kernels, unconditionally.
template <class T>
class Lvl3Registration : public ClassRegistration<T> {
public:
    Lvl3Registration() : m_kernels(kernel::registerKernels<T, eInstructionSet::eStandard>()) {}
    std::size_t getKernelCount() const { return m_kernels.getCount(); }

private:
    processor::KernelTableRegistration m_kernels;
};

template <class T>
void ClassRegistration<T>::registerWithFactories() {
    core::DynamicObjectFactory::getInstance().registerClass(T::getTypeName(), &T::createNewObject,
                                                            &T::createSharedObject);
    core::MessageMapRegistrator<eProcessorMessage>::process();
    processor::ProcessorFactory::getInstance().registerProcessor<T>();
}

}  // namespace vimra::imaproc::arithm
