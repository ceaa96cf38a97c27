#include "CycleCollector.h"

#include "Value.h"

namespace tonvik {

namespace {

// Trial deletion: a candidate's references, less those from other candidates, are the ones from
// outside (variables, values being evaluated, older lists). Candidates with such references are
// alive, and so is every candidate they reach; the rest only cycles keep.

template <typename Visit>
void forEachHeld(Container& container, Visit&& visit) {
  auto held = [&](const Value& value) {
    if (Container* inner = value.container()) visit(*inner);
  };
  if (container.kind() == Container::Kind::List) {
    for (const Value& item : static_cast<LinearList&>(container).items) held(item);
  } else {
    for (const Property& entry : static_cast<PropertyList&>(container).entries) {
      held(entry.key);
      held(entry.value);
    }
  }
}

thread_local std::uint64_t lastCollection = 0;

}  // namespace

void collectCycles(std::uint64_t bornSince, std::size_t mostLists) noexcept {
  const std::uint64_t collection = ++lastCollection;
  ContainerRegistry& registry = liveContainers();
  Container* candidates = nullptr;
  std::size_t count = 0;
  for (auto it = registry.rbegin(); it != registry.rend() && it->serial() >= bornSince; ++it) {
    if (++count > mostLists) return;
    Container::CollectorState& state = it->collectorState();
    state.collection = collection;
    state.outsideReferences = it->references();
    state.live = false;
    state.nextCandidate = candidates;
    candidates = &*it;
  }
  if (candidates == nullptr) return;
  auto isCandidate = [collection](Container& c) {
    return c.collectorState().collection == collection;
  };

  for (Container* c = candidates; c != nullptr; c = c->collectorState().nextCandidate) {
    forEachHeld(*c, [&](Container& inner) {
      if (isCandidate(inner)) --inner.collectorState().outsideReferences;
    });
  }

  Container* toVisit = nullptr;
  auto markLive = [&](Container& c) {
    c.collectorState().live = true;
    c.collectorState().nextToVisit = toVisit;
    toVisit = &c;
  };
  for (Container* c = candidates; c != nullptr; c = c->collectorState().nextCandidate) {
    if (c->collectorState().outsideReferences > 0) markLive(*c);
  }
  while (toVisit != nullptr) {
    Container* c = toVisit;
    toVisit = c->collectorState().nextToVisit;
    forEachHeld(*c, [&](Container& inner) {
      if (isCandidate(inner) && !inner.collectorState().live) markLive(inner);
    });
  }

  // Each piece of garbage is held while all are emptied, so that none is freed while another
  // still refers to it; letting go then frees them.
  Container* garbage = nullptr;
  for (Container* c = candidates; c != nullptr; c = c->collectorState().nextCandidate) {
    if (c->collectorState().live) continue;
    intrusive_ptr_add_ref(c);
    c->collectorState().nextToVisit = garbage;
    garbage = c;
  }
  for (Container* c = garbage; c != nullptr; c = c->collectorState().nextToVisit) c->clearValues();
  while (garbage != nullptr) {
    Container* c = garbage;
    garbage = c->collectorState().nextToVisit;
    intrusive_ptr_release(c);
  }
}

CycleCollection::CycleCollection(Scope scope)
    : scope_(scope), bornSince_(scope == Scope::Run ? 0 : nextContainerSerial()) {}

CycleCollection::~CycleCollection() {
  if (scope_ == Scope::Run) {
    collectCycles(0);
  } else if (newestListThatLostAReference() >= bornSince_) {
    collectCycles(bornSince_, kMaxListsCollectedAtReturn);
  }
}

}  // namespace tonvik
