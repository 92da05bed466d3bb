#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

namespace vimra {

namespace core {
class BaseOArchive;
class BaseIArchive;
}  // namespace core

/// Root of every object that the object factory can create by type name and
/// that archives can serialise.
class BaseDynamicObject {
public:
    virtual ~BaseDynamicObject() = default;

    virtual std::string getClassName() const = 0;
    virtual BaseDynamicObject* createNew() const = 0;
    virtual boost::shared_ptr<BaseDynamicObject> createShared() const = 0;

    virtual bool hasCopySupport() const { return false; }
    /// Copies of objects without copy support throw.
    virtual BaseDynamicObject* duplicate() const;
    virtual boost::shared_ptr<BaseDynamicObject> duplicateShared() const;
    virtual void copy(const BaseDynamicObject& other);

    virtual void write(core::BaseOArchive& archive) const;
    virtual void read(core::BaseIArchive& archive);
};

namespace core {

/// An action is a dynamic object that does something when run.
class BaseAction : public BaseDynamicObject {
public:
    virtual bool isComplexAction() const { return false; }
};

/// An action made of sub-actions (processors dispatching to lower levels).
class BaseComplexAction : public BaseAction {
public:
    bool isComplexAction() const override { return true; }
};

}  // namespace core
}  // namespace vimra
