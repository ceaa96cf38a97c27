// The host side of Lingo values: one store that owns every value an Xtra makes, hands out the
// value, list and allocator interfaces, counts what is alive, and can be told to fail operations
// so that every error path of an Xtra can be reached from a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "HostInterfaces.h"

namespace director {

enum class ValueKind { Void, Integer, Float, String, Symbol, LinearList, PropertyList };

// The interface operations that can be made to fail.
enum class HostOperation {
  InternSymbol,
  ValueTypeOf,
  ReadIntegerValue,
  ReadSymbolValue,
  MakeIntegerValue,
  MakeSymbolValue,
  MakeStringValue,
  NewLinearList,
  AppendListItem,
  GetListItem,
  NewPropertyList,
  AppendProperty,
  QueryInterface,
  Count_
};

// Values live in a handle table: a record holds a slot number and a generation, so a stale or
// doubly released record is caught instead of touching reused memory. Not thread-safe: like
// Director, every value operation belongs to the host thread.
class ValueStore {
 public:
  ValueStore();
  ~ValueStore();
  ValueStore(const ValueStore&) = delete;
  ValueStore& operator=(const ValueStore&) = delete;

  // Symbols are interned case-insensitively and keep the spelling first interned.
  LingoSymbol intern(std::string_view name);
  const std::string& symbolName(LingoSymbol symbol) const;

  // Each make* answers a new value holding one reference, which the caller releases.
  LingoValue makeVoid() const { return LingoValue{}; }
  LingoValue makeInteger(std::int32_t number);
  LingoValue makeFloat(double number);
  LingoValue makeString(std::string_view text);
  LingoValue makeSymbol(LingoSymbol symbol);
  LingoValue makeSymbol(std::string_view name) { return makeSymbol(intern(name)); }
  LingoValue makeLinearList();
  LingoValue makePropertyList();

  // Reading. A read of the wrong kind is a programming error of the caller (check kind first).
  ValueKind kind(const LingoValue& value) const;
  std::int32_t integer(const LingoValue& value) const;
  double floatValue(const LingoValue& value) const;
  const std::string& string(const LingoValue& value) const;
  LingoSymbol symbol(const LingoValue& value) const;
  // Items of a list, properties of a property list, 0 otherwise.
  std::int32_t count(const LingoValue& list) const;
  // One-based; each answers a new reference.
  LingoValue itemAt(const LingoValue& list, std::int32_t position);
  LingoValue keyAt(const LingoValue& propertyList, std::int32_t position);

  // The list keeps references of its own.
  void append(const LingoValue& list, const LingoValue& item);
  void appendProperty(const LingoValue& propertyList, const LingoValue& key,
                      const LingoValue& value);

  LingoValue retain(const LingoValue& value);
  // Gives back one reference; VOID needs none. Releasing a value that is not alive aborts.
  void release(LingoValue& value);

  // Director's message-window form: 42, 0.5000, "text", #sym, <Void>, [1, 2], [#a: 1], [:].
  std::string print(const LingoValue& value) const;

  // Census: values alive now (items held by lists included), and host blocks not yet freed.
  std::size_t liveValues() const { return liveValues_; }
  std::size_t liveBlocks() const { return liveBlocks_; }
  // Interface references handed out and not yet given back (QueryInterface, AddRef, Release).
  std::int32_t interfaceReferences() const { return interfaceReferences_; }

  // Failure injection: the next `count` calls of the operation fail with kHostErrInjected, and
  // the next `count` AllocateBlock calls answer null.
  void failNext(HostOperation operation, int count);
  // `after` allocations succeed first, so that a later call site can be reached.
  void failAllocations(int count, int after = 0) {
    allocationFailures_ = count;
    allocationsBeforeFailure_ = after;
  }
  void clearFailures();
  // Called at the start of every interface operation, before any failure is injected; lets a
  // test pace a caller. An empty function takes the watcher away.
  void watchOperations(std::function<void(HostOperation)> watcher) {
    watcher_ = std::move(watcher);
  }
  // Allocation failures asked for and not yet handed out.
  int pendingAllocationFailures() const { return allocationFailures_; }

  HostValueInterface* valueInterface();
  HostListInterface* listInterface();
  HostAllocator* allocator();
  // Hands out the value and list interfaces, the allocator, and whatever else was added.
  HostCallback* callback();
  // Lets the rest of the host publish further interfaces through callback(); not owned, so an
  // owner that goes first withdraws what it published.
  void publishInterface(const HostInterfaceId& iid, IMoaUnknown* object);
  void withdrawInterface(const HostInterfaceId& iid, IMoaUnknown* object);

  // Used by the interface objects.
  bool consumeFailure(HostOperation operation);
  void* allocateBlock(std::uint32_t size);
  void freeBlock(void* block);
  void countInterfaceReference(int delta) { interfaceReferences_ += delta; }
  HostStatus queryInterface(const HostInterfaceId* iid, void** out);
  bool isAlive(const LingoValue& value) const;

 private:
  struct Slot;
  struct Interfaces;
  Slot& slot(const LingoValue& value);
  const Slot& slot(const LingoValue& value) const;
  LingoValue newValue(ValueKind kind);
  void printInto(std::string& out, const LingoValue& value) const;

  std::vector<Slot> slots_;
  std::vector<std::uint32_t> freeSlots_;
  std::vector<std::string> symbolNames_;
  std::vector<std::string> symbolKeys_;  // lower-case, parallel to symbolNames_
  std::size_t liveValues_ = 0;
  std::size_t liveBlocks_ = 0;
  std::int32_t interfaceReferences_ = 0;
  int failures_[static_cast<int>(HostOperation::Count_)] = {};
  int allocationFailures_ = 0;
  int allocationsBeforeFailure_ = 0;
  std::function<void(HostOperation)> watcher_;
  std::vector<std::pair<HostInterfaceId, IMoaUnknown*>> published_;
  Interfaces* interfaces_;
};

}  // namespace director
