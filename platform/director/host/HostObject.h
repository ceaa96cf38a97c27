// The host's keeping of one Xtra object: the memory the Xtra asked for, the header filled in
// before creation, and the object's own reference count, query, add-reference and release.
#pragma once

#include <cstdint>
#include <memory>

#include "MoaExports.h"
#include "MoaObject.h"

namespace director {

// How a bundle builds objects of one class, as DllGetClassForm and DllGetInterface tell it.
struct XtraClassForm {
  HostInterfaceId classId;
  std::uint32_t objectSize;
  XtraObjectCreate create;
  XtraObjectDestroy destroy;
  DllGetInterfaceFunction getInterface;
};

class HostObject final : public IMoaUnknown {
 public:
  // Allocates the object, fills its header and runs its creation; the object starts with the
  // caller's one reference whatever creation reported.
  static HostObject* create(const XtraClassForm& form, HostCallback* callback,
                            HostAllocator* allocator, HostStatus* creationStatus);

  // The object's interfaces, each a new record from the bundle.
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override;
  std::uint32_t AddRef() override;
  // The last release destroys the object and frees its memory.
  std::uint32_t Release() override;

  MoaObjectHeader* header() { return reinterpret_cast<MoaObjectHeader*>(memory_.get()); }
  std::int32_t references() const { return references_; }

 private:
  explicit HostObject(const XtraClassForm& form);
  ~HostObject() = default;

  XtraClassForm form_;
  std::unique_ptr<std::byte[]> memory_;
  std::int32_t references_ = 1;
};

}  // namespace director
