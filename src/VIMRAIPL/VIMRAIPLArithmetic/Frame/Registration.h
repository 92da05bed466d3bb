#pragma once

// What every class file registers when the library is loaded, written once:
//   <Op>Lvl1.cpp, <Op>Lvl2.cpp   VIMRA_ARITHM_CLASS(<Op>Lvl1)
//   <Op>Lvl3.cpp                 VIMRA_ARITHM_LEVEL3(<Op>)  (with the arithmetic included)
// Registration objects have names of their own, so class files can be built
// together in one translation unit.

#include "../Kernel/KernelFile.h"
#include "CatalogueEntry.h"
#include "../Kernel/PortableKernels.h"

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
        core::DynamicObjectFactory::getInstance().registerClass(T::getTypeName(), &T::createNewObject,
                                                                &T::createSharedObject);
        core::MessageMapRegistrator<eProcessorMessage>::process();
        processor::ProcessorFactory::getInstance().registerProcessor<T>();
        if constexpr (requires { T::s_level; })
            if constexpr (T::s_level == eLevel::eLvl1) catalogue::registerOperation(catalogue::detail::describe<T>());
    }
};

/// Static initialiser of a standard level-3 class file: the class, its selector
/// under the class's name, then its standard kernels, unconditionally.
template <class T, class Arith>
class Lvl3Registration : public ClassRegistration<T> {
    using Table = kernel::KernelTable<kernel::PortableEntry, Arith, eInstructionSet::eStandard>;

public:
    Lvl3Registration()
        : m_kernels((processor::registerFunctionSelector(T::getTypeName(), T::retrieveFunctionSelector()),
                     &T::retrieveFunctionSelector),
                    eInstructionSet::eStandard, Table::s_data, Table::s_signature) {}

private:
    processor::KernelTableRegistration m_kernels;
};

namespace kernel {
template <class Lvl3>
processor::AlgorithmFunctionSelector& functionSelectorOf() {
    return Lvl3::retrieveFunctionSelector();
}
}  // namespace kernel

}  // namespace vimra::imaproc::arithm

#define VIMRA_ARITHM_CLASS(Class)                                    \
    namespace vimra::imaproc::arithm {                               \
    namespace {                                                      \
    const ClassRegistration<Class> g_##Class##Registration;          \
    }                                                                \
    }

#define VIMRA_ARITHM_LEVEL3(Op)                                                          \
    namespace vimra::imaproc::arithm {                                                   \
    template processor::AlgorithmFunctionSelector& kernel::functionSelectorOf<Op##Lvl3>(); \
    namespace {                                                                          \
    const Lvl3Registration<Op##Lvl3, Op##Arithmetic> g_##Op##Lvl3Registration;            \
    }                                                                                    \
    }
