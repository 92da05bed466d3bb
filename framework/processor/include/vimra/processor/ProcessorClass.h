#pragma once

#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>
#include <vimra/core/Mutexes.h>
#include <vimra/processor/Processor.h>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <string>

namespace vimra::processor {

/// Raises the serialisation error for an archive written by a newer class version.
[[noreturn]] void throwNewerClassVersion(const std::string& className, std::uint64_t found, unsigned supported);

/// The identity members, factory hooks and serialisation that every processor
/// class shares, written once. `Derived` supplies:
///   static std::string typeNameText();   fully qualified class name
///   static std::string objectNameText(); short name
///   static std::string toolTipText();    tool tip
/// and may define `static constexpr unsigned s_version` (default 1).
template <class Derived, class Base = BaseAsync1Processor>
class ProcessorClass : public Base {
public:
    static const std::string& getTypeName() {
        boost::lock_guard<boost::mutex> lock(core::TypeNameMutex());
        static const std::string name = Derived::typeNameText();
        return name;
    }
    static const std::string& getObjectNameStr() {
        boost::lock_guard<boost::mutex> lock(core::ToolTipMutex());
        static const std::string name = Derived::objectNameText();
        return name;
    }
    static const std::string& getToolTipStr() {
        boost::lock_guard<boost::mutex> lock(core::ToolTipMutex());
        static const std::string text = Derived::toolTipText();
        return text;
    }
    static unsigned getVersion() {
        boost::lock_guard<boost::mutex> lock(core::VersionMutex());
        return versionValue();
    }
    static const ProcessorDispatchPolicy& getDefaultDispatchPolicy() {
        boost::lock_guard<boost::mutex> lock(core::DispatchPolicyMutex());
        static ProcessorDispatchPolicy policy;
        if (!policy.isInitialized()) policy.initDefault();
        return policy;
    }

    static BaseDynamicObject* createNewObject() { return new Derived(); }
    static boost::shared_ptr<BaseDynamicObject> createSharedObject() { return boost::make_shared<Derived>(); }
    static boost::shared_ptr<Derived> createProcessor() { return boost::make_shared<Derived>(); }
    static boost::shared_ptr<BaseProcessor> createBaseProcessor() { return boost::make_shared<Derived>(); }

    std::string getClassName() const override { return getTypeName(); }
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    boost::shared_ptr<BaseDynamicObject> createShared() const override { return createSharedObject(); }
    bool hasCopySupport() const override { return false; }
    std::string getObjectName() const override { return getObjectNameStr(); }
    std::string getToolTip() const override { return getToolTipStr(); }

    void write(core::BaseOArchive& archive) const override {
        Base::write(archive);
        archive.beginSection(getClassName());
        if (!archive.hasClassVersion(getClassName())) {
            archive.writeUnsigned("version", getVersion());
            archive.registerClassVersion(getClassName(), getVersion());
        }
        archive.endSection();
    }

    void read(core::BaseIArchive& archive) override {
        Base::read(archive);
        archive.beginSection(getClassName());
        // "version" is written once per class and archive; later objects of the
        // class find it in the archive's registry.
        std::uint64_t version = 0;
        if (archive.hasItem("version")) {
            version = archive.readUnsigned("version");
            archive.registerClassVersion(getClassName(), version);
        } else {
            version = archive.getClassVersion(getClassName());  // throws when never recorded
        }
        archive.endSection();
        if (version > getVersion()) throwNewerClassVersion(getClassName(), version, getVersion());
    }

private:
    static constexpr unsigned versionValue() {
        if constexpr (requires { Derived::s_version; }) {
            return Derived::s_version;
        } else {
            return 1;
        }
    }
};

}  // namespace vimra::processor
