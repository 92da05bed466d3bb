#include <vimra/core/DynamicObject.h>
#include <vimra/core/BaseException.h>

namespace vimra {

namespace {
[[noreturn]] void noCopy(const BaseDynamicObject& o) {
    throw core::BaseException("Class " + o.getClassName() + " has no copy support", "vimra::BaseDynamicObject");
}
}  // namespace

BaseDynamicObject* BaseDynamicObject::duplicate() const { noCopy(*this); }
boost::shared_ptr<BaseDynamicObject> BaseDynamicObject::duplicateShared() const { noCopy(*this); }
void BaseDynamicObject::copy(const BaseDynamicObject&) { noCopy(*this); }
void BaseDynamicObject::write(core::BaseOArchive&) const {}
void BaseDynamicObject::read(core::BaseIArchive&) {}

}  // namespace vimra
