#include "HostObject.h"

#include <algorithm>

namespace director {

HostObject::HostObject(const XtraClassForm& form)
    : form_(form),
      memory_(new std::byte[std::max<std::size_t>(form.objectSize, sizeof(MoaObjectHeader))]()) {}

HostObject* HostObject::create(const XtraClassForm& form, HostCallback* callback,
                               HostAllocator* allocator, HostStatus* creationStatus) {
  auto* object = new HostObject(form);
  MoaObjectHeader* header = object->header();
  header->unknown_ = object;
  header->callback_ = callback;
  header->allocator_ = allocator;
  *creationStatus = form.create(header);
  return object;
}

HostStatus HostObject::QueryInterface(const HostInterfaceId* iid, void** out) {
  *out = nullptr;
  return form_.getInterface(header(), &form_.classId, iid, out);
}

std::uint32_t HostObject::AddRef() {
  return static_cast<std::uint32_t>(++references_);
}

std::uint32_t HostObject::Release() {
  const std::int32_t remaining = --references_;
  if (remaining == 0) {
    form_.destroy(header());
    delete this;
  }
  return static_cast<std::uint32_t>(remaining);
}

}  // namespace director
