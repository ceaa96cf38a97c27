// Lists and property lists are shared by reference, as in Lingo. Each counts its references
// itself; one whose count drops to zero is freed in a loop, never by recursion, so a list nested
// 200 000 deep goes as safely as a flat one, and freeing allocates nothing. Every live list is
// on its thread's registry, in the order made, for the cycle collector (CycleCollector.h).
#pragma once

#include <boost/intrusive/list.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstddef>
#include <cstdint>

namespace tonvik {

class Container : public boost::intrusive::list_base_hook<
                      boost::intrusive::link_mode<boost::intrusive::auto_unlink>> {
 public:
  enum class Kind : std::uint8_t { List, PropList };

  Container(const Container&) = delete;
  Container& operator=(const Container&) = delete;

  Kind kind() const { return kind_; }
  std::uint64_t serial() const { return serial_; }
  std::size_t references() const { return references_; }

  // What the cycle collector keeps on each list during one collection; linking lists through
  // these fields is what lets it run without allocating.
  struct CollectorState {
    std::uint64_t collection = 0;  // the collection that took this list up
    std::size_t outsideReferences = 0;
    bool live = false;
    Container* nextCandidate = nullptr;
    Container* nextToVisit = nullptr;
  };
  CollectorState& collectorState() { return collector_; }

  // Drops every value the list holds.
  virtual void clearValues() = 0;

 protected:
  explicit Container(Kind kind);
  virtual ~Container() = default;

 private:
  friend void intrusive_ptr_add_ref(Container* container) noexcept;
  friend void intrusive_ptr_release(Container* container) noexcept;

  std::size_t references_ = 0;
  std::uint64_t serial_;
  Kind kind_;
  Container* nextToFree_ = nullptr;
  CollectorState collector_;
};

void intrusive_ptr_add_ref(Container* container) noexcept;
void intrusive_ptr_release(Container* container) noexcept;

using ContainerRegistry =
    boost::intrusive::list<Container, boost::intrusive::constant_time_size<false>>;

// This thread's live lists, oldest first. Script values belong to the thread that runs the
// interpreter; they are never shared with another.
ContainerRegistry& liveContainers();

// The serial the next list made on this thread will get; serials only grow.
std::uint64_t nextContainerSerial();

// Lists alive on this thread.
std::size_t liveContainerCount();

// The serial of the newest list that lost a reference and kept others, 0 if none has: only such
// a loss can leave lists that nothing outside them refers to.
std::uint64_t newestListThatLostAReference();

}  // namespace tonvik
