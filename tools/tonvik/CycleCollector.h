// Lists that hold one another keep each other alive after the script has let go of them all:
// `l = [1]; add(l, l); l = 0` would keep the list, and an Xtra instance in it would stay open.
// The collector finds such lists and frees them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace tonvik {

// Frees the lists made since `bornSince` (a nextContainerSerial() value, 0 for every list) that
// nothing but other such lists refers to, emptying them first so that what they hold, an Xtra
// instance say, is released too. Lists made earlier are taken to be alive. Does nothing when more
// than `mostLists` such lists are alive. Allocates nothing and throws nothing, so it also runs
// when memory has run out.
void collectCycles(std::uint64_t bornSince,
                   std::size_t mostLists = std::numeric_limits<std::size_t>::max()) noexcept;

// Lists a handler call leaves alive beyond this many are left to the collection at the end of
// the run, so that a return costs little however much the call built.
constexpr std::size_t kMaxListsCollectedAtReturn = 10000;

// Collects, when it goes out of scope however that happens: for a run, every list; for a
// handler call, the lists made during the call, when one of them has lost a reference (else
// none can be unreachable) and at most kMaxListsCollectedAtReturn of them are alive.
class CycleCollection {
 public:
  enum class Scope { Run, Call };
  explicit CycleCollection(Scope scope);
  ~CycleCollection();
  CycleCollection(const CycleCollection&) = delete;
  CycleCollection& operator=(const CycleCollection&) = delete;

 private:
  Scope scope_;
  std::uint64_t bornSince_;
};

}  // namespace tonvik
