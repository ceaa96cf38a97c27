#include "Container.h"

namespace tonvik {

namespace {

struct ThreadContainers {
  ContainerRegistry registry;
  std::uint64_t nextSerial = 1;
  std::size_t count = 0;
  // Lists whose last reference went while another list was being freed: they wait here,
  // linked through themselves, and the outermost release frees them one after the other.
  Container* toFree = nullptr;
  bool freeing = false;
  std::uint64_t newestThatLostAReference = 0;
};

thread_local ThreadContainers containers;

}  // namespace

Container::Container(Kind kind) : serial_(containers.nextSerial++), kind_(kind) {
  containers.registry.push_back(*this);
  ++containers.count;
}

void intrusive_ptr_add_ref(Container* container) noexcept {
  ++container->references_;
}

void intrusive_ptr_release(Container* container) noexcept {
  if (--container->references_ != 0) {
    if (container->serial_ > containers.newestThatLostAReference) {
      containers.newestThatLostAReference = container->serial_;
    }
    return;
  }
  container->unlink();
  --containers.count;
  container->nextToFree_ = containers.toFree;
  containers.toFree = container;
  if (containers.freeing) return;
  containers.freeing = true;
  while (containers.toFree != nullptr) {
    Container* next = containers.toFree;
    containers.toFree = next->nextToFree_;
    delete next;
  }
  containers.freeing = false;
}

ContainerRegistry& liveContainers() {
  return containers.registry;
}

std::uint64_t nextContainerSerial() {
  return containers.nextSerial;
}

std::size_t liveContainerCount() {
  return containers.count;
}

std::uint64_t newestListThatLostAReference() {
  return containers.newestThatLostAReference;
}

}  // namespace tonvik
