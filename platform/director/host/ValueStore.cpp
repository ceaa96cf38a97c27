#include "ValueStore.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace director {

namespace {

// A record is (generation << 32) | (slot + 1), so that the all-zero record stays VOID.
constexpr unsigned kGenerationShift = 32;
constexpr std::uint64_t kSlotMask = 0xFFFFFFFFu;

[[noreturn]] void hostMisuse(const char* what) {
  std::fprintf(stderr, "Host error: %s\n", what);
  std::abort();
}

std::string lowerCase(std::string_view text) {
  std::string key(text);
  for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return key;
}

}  // namespace

struct ValueStore::Slot {
  ValueKind kind = ValueKind::Void;
  std::uint32_t generation = 0;
  std::int32_t references = 0;
  std::int32_t integer = 0;
  double number = 0.0;
  LingoSymbol symbol = 0;
  std::string text;
  std::vector<LingoValue> items;
  std::vector<LingoValue> keys;  // property lists only, parallel to items
};

namespace {

// Every interface object counts its references in the store, so a test can prove that an Xtra
// gave back each interface it obtained. The store owns the objects.
template <class Interface>
class CountedInterface : public Interface {
 public:
  explicit CountedInterface(ValueStore& store) : store_(store) {}
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override {
    return store_.queryInterface(iid, out);
  }
  std::uint32_t AddRef() override {
    store_.countInterfaceReference(+1);
    return 2;
  }
  std::uint32_t Release() override {
    store_.countInterfaceReference(-1);
    return 1;
  }

 protected:
  ValueStore& store_;
};

// A failed make leaves VOID behind, which needs no release.
HostStatus failMake(LingoValue* out) {
  *out = LingoValue{};
  return kHostErrInjected;
}

class ValueInterfaceImpl final : public CountedInterface<HostValueInterface> {
 public:
  using CountedInterface::CountedInterface;

  HostStatus InternSymbol(const char* name, LingoSymbol* out) override {
    if (store_.consumeFailure(HostOperation::InternSymbol)) return kHostErrInjected;
    *out = store_.intern(name);
    return kHostOk;
  }
  HostStatus ValueTypeOf(const LingoValue* value, std::int32_t* outType) override {
    if (store_.consumeFailure(HostOperation::ValueTypeOf)) return kHostErrInjected;
    *outType = typeCode(store_.kind(*value));
    return kHostOk;
  }
  HostStatus ReleaseValue(LingoValue* value) override {
    store_.release(*value);
    return kHostOk;
  }
  HostStatus ReadIntegerValue(const LingoValue* value, std::int32_t* out) override {
    if (store_.consumeFailure(HostOperation::ReadIntegerValue)) return kHostErrInjected;
    if (store_.kind(*value) != ValueKind::Integer) return kHostErrWrongType;
    *out = store_.integer(*value);
    return kHostOk;
  }
  HostStatus ReadSymbolValue(const LingoValue* value, LingoSymbol* out) override {
    if (store_.consumeFailure(HostOperation::ReadSymbolValue)) return kHostErrInjected;
    if (store_.kind(*value) != ValueKind::Symbol) return kHostErrWrongType;
    *out = store_.symbol(*value);
    return kHostOk;
  }
  HostStatus MakeIntegerValue(std::int32_t number, LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::MakeIntegerValue)) return failMake(out);
    *out = store_.makeInteger(number);
    return kHostOk;
  }
  HostStatus MakeSymbolValue(LingoSymbol symbol, LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::MakeSymbolValue)) return failMake(out);
    *out = store_.makeSymbol(symbol);
    return kHostOk;
  }
  HostStatus MakeStringValue(const char* text, LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::MakeStringValue)) return failMake(out);
    *out = store_.makeString(text);
    return kHostOk;
  }

  static std::int32_t typeCode(ValueKind kind) {
    switch (kind) {
      case ValueKind::Void:
        return kLingoTypeVoid;
      case ValueKind::Integer:
        return kLingoTypeInteger;
      case ValueKind::Float:
        return kLingoTypeFloat;
      case ValueKind::String:
        return kLingoTypeString;
      case ValueKind::Symbol:
        return kLingoTypeSymbol;
      case ValueKind::LinearList:
        return kLingoTypeLinearList;
      case ValueKind::PropertyList:
        return kLingoTypePropertyList;
    }
    return kLingoTypeVoid;
  }
};

class ListInterfaceImpl final : public CountedInterface<HostListInterface> {
 public:
  using CountedInterface::CountedInterface;

  HostStatus NewLinearList(LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::NewLinearList)) return failMake(out);
    *out = store_.makeLinearList();
    return kHostOk;
  }
  HostStatus AppendListItem(LingoValue* list, const LingoValue* item) override {
    if (store_.consumeFailure(HostOperation::AppendListItem)) return kHostErrInjected;
    if (store_.kind(*list) != ValueKind::LinearList) return kHostErrWrongType;
    store_.append(*list, *item);
    return kHostOk;
  }
  std::int32_t ListItemCount(const LingoValue* list) override { return store_.count(*list); }
  HostStatus GetListItem(const LingoValue* list, std::int32_t position, LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::GetListItem)) return kHostErrInjected;
    const ValueKind kind = store_.kind(*list);
    if (kind != ValueKind::LinearList && kind != ValueKind::PropertyList) return kHostErrWrongType;
    if (position < 1 || position > store_.count(*list)) return kHostErrBadIndex;
    *out = store_.itemAt(*list, position);
    return kHostOk;
  }
  HostStatus NewPropertyList(LingoValue* out) override {
    if (store_.consumeFailure(HostOperation::NewPropertyList)) return failMake(out);
    *out = store_.makePropertyList();
    return kHostOk;
  }
  HostStatus AppendProperty(LingoValue* propList, const LingoValue* key,
                            const LingoValue* value) override {
    if (store_.consumeFailure(HostOperation::AppendProperty)) return kHostErrInjected;
    if (store_.kind(*propList) != ValueKind::PropertyList) return kHostErrWrongType;
    store_.appendProperty(*propList, *key, *value);
    return kHostOk;
  }
};

class AllocatorImpl final : public CountedInterface<HostAllocator> {
 public:
  using CountedInterface::CountedInterface;
  void* AllocateBlock(std::uint32_t size) override { return store_.allocateBlock(size); }
  void FreeBlock(void* block) override { store_.freeBlock(block); }
};

class CallbackImpl final : public CountedInterface<HostCallback> {
 public:
  using CountedInterface::CountedInterface;
};

}  // namespace

struct ValueStore::Interfaces {
  explicit Interfaces(ValueStore& store)
      : values(store), lists(store), allocator(store), callback(store) {}
  ValueInterfaceImpl values;
  ListInterfaceImpl lists;
  AllocatorImpl allocator;
  CallbackImpl callback;
};

ValueStore::ValueStore() : interfaces_(new Interfaces(*this)) {
  // Symbol 0 is never handed out, so a zeroed handle is recognisably unset.
  symbolNames_.emplace_back();
  symbolKeys_.emplace_back();
}

ValueStore::~ValueStore() {
  delete interfaces_;
}

LingoSymbol ValueStore::intern(std::string_view name) {
  const std::string key = lowerCase(name);
  const auto found = std::find(symbolKeys_.begin(), symbolKeys_.end(), key);
  if (found != symbolKeys_.end() && found != symbolKeys_.begin()) {
    return static_cast<LingoSymbol>(found - symbolKeys_.begin());
  }
  symbolNames_.emplace_back(name);
  symbolKeys_.push_back(key);
  return static_cast<LingoSymbol>(symbolNames_.size() - 1);
}

const std::string& ValueStore::symbolName(LingoSymbol symbol) const {
  if (symbol == 0 || symbol >= symbolNames_.size()) hostMisuse("unknown symbol handle");
  return symbolNames_[symbol];
}

LingoValue ValueStore::newValue(ValueKind kind) {
  std::uint32_t index;
  if (!freeSlots_.empty()) {
    index = freeSlots_.back();
    freeSlots_.pop_back();
  } else {
    index = static_cast<std::uint32_t>(slots_.size());
    slots_.emplace_back();
  }
  Slot& s = slots_[index];
  s.kind = kind;
  s.references = 1;
  ++liveValues_;
  return LingoValue{(static_cast<std::uint64_t>(s.generation) << kGenerationShift) |
                    (static_cast<std::uint64_t>(index) + 1)};
}

bool ValueStore::isAlive(const LingoValue& value) const {
  if (value.opaque == 0) return true;
  const std::uint64_t index = (value.opaque & kSlotMask) - 1;
  if (index >= slots_.size()) return false;
  const Slot& s = slots_[index];
  return s.references > 0 && s.generation == (value.opaque >> kGenerationShift);
}

ValueStore::Slot& ValueStore::slot(const LingoValue& value) {
  if (value.opaque == 0 || !isAlive(value)) hostMisuse("use of a Lingo value that is not alive");
  return slots_[(value.opaque & kSlotMask) - 1];
}

const ValueStore::Slot& ValueStore::slot(const LingoValue& value) const {
  if (value.opaque == 0 || !isAlive(value)) hostMisuse("use of a Lingo value that is not alive");
  return slots_[(value.opaque & kSlotMask) - 1];
}

LingoValue ValueStore::makeInteger(std::int32_t number) {
  LingoValue v = newValue(ValueKind::Integer);
  slot(v).integer = number;
  return v;
}

LingoValue ValueStore::makeFloat(double number) {
  LingoValue v = newValue(ValueKind::Float);
  slot(v).number = number;
  return v;
}

LingoValue ValueStore::makeString(std::string_view text) {
  LingoValue v = newValue(ValueKind::String);
  slot(v).text = std::string(text);
  return v;
}

LingoValue ValueStore::makeSymbol(LingoSymbol symbol) {
  LingoValue v = newValue(ValueKind::Symbol);
  slot(v).symbol = symbol;
  return v;
}

LingoValue ValueStore::makeLinearList() {
  return newValue(ValueKind::LinearList);
}
LingoValue ValueStore::makePropertyList() {
  return newValue(ValueKind::PropertyList);
}

ValueKind ValueStore::kind(const LingoValue& value) const {
  if (value.opaque == 0) return ValueKind::Void;
  return slot(value).kind;
}

std::int32_t ValueStore::integer(const LingoValue& value) const {
  const Slot& s = slot(value);
  if (s.kind != ValueKind::Integer) hostMisuse("integer read of a value that is no integer");
  return s.integer;
}

double ValueStore::floatValue(const LingoValue& value) const {
  const Slot& s = slot(value);
  if (s.kind != ValueKind::Float) hostMisuse("float read of a value that is no float");
  return s.number;
}

const std::string& ValueStore::string(const LingoValue& value) const {
  const Slot& s = slot(value);
  if (s.kind != ValueKind::String) hostMisuse("string read of a value that is no string");
  return s.text;
}

LingoSymbol ValueStore::symbol(const LingoValue& value) const {
  const Slot& s = slot(value);
  if (s.kind != ValueKind::Symbol) hostMisuse("symbol read of a value that is no symbol");
  return s.symbol;
}

std::int32_t ValueStore::count(const LingoValue& list) const {
  const ValueKind k = kind(list);
  if (k != ValueKind::LinearList && k != ValueKind::PropertyList) return 0;
  return static_cast<std::int32_t>(slot(list).items.size());
}

LingoValue ValueStore::itemAt(const LingoValue& list, std::int32_t position) {
  if (position < 1 || position > count(list)) hostMisuse("list position out of range");
  return retain(slot(list).items[static_cast<std::size_t>(position - 1)]);
}

LingoValue ValueStore::keyAt(const LingoValue& propertyList, std::int32_t position) {
  if (kind(propertyList) != ValueKind::PropertyList || position < 1 ||
      position > count(propertyList)) {
    hostMisuse("property position out of range");
  }
  return retain(slot(propertyList).keys[static_cast<std::size_t>(position - 1)]);
}

void ValueStore::append(const LingoValue& list, const LingoValue& item) {
  if (kind(list) != ValueKind::LinearList) hostMisuse("append to a value that is no list");
  const LingoValue held = retain(item);
  slot(list).items.push_back(held);
}

void ValueStore::appendProperty(const LingoValue& propertyList, const LingoValue& key,
                                const LingoValue& value) {
  if (kind(propertyList) != ValueKind::PropertyList) {
    hostMisuse("property append to a value that is no property list");
  }
  const LingoValue heldKey = retain(key);
  const LingoValue heldValue = retain(value);
  Slot& s = slot(propertyList);
  s.keys.push_back(heldKey);
  s.items.push_back(heldValue);
}

LingoValue ValueStore::retain(const LingoValue& value) {
  if (value.opaque != 0) ++slot(value).references;
  return value;
}

void ValueStore::release(LingoValue& value) {
  if (value.opaque == 0) return;
  if (!isAlive(value)) hostMisuse("release of a Lingo value that is not alive");
  const std::uint32_t index = static_cast<std::uint32_t>((value.opaque & kSlotMask) - 1);
  if (--slots_[index].references > 0) return;
  // Take the children out first: releasing them may grow slots_ no further, but keeps the
  // slot reusable before recursion touches other slots.
  std::vector<LingoValue> children = std::move(slots_[index].items);
  std::vector<LingoValue> keys = std::move(slots_[index].keys);
  Slot& s = slots_[index];
  s.items.clear();
  s.keys.clear();
  s.text.clear();
  s.kind = ValueKind::Void;
  ++s.generation;
  freeSlots_.push_back(index);
  --liveValues_;
  for (LingoValue& child : children) release(child);
  for (LingoValue& key : keys) release(key);
}

std::string ValueStore::print(const LingoValue& value) const {
  std::string out;
  printInto(out, value);
  return out;
}

void ValueStore::printInto(std::string& out, const LingoValue& value) const {
  switch (kind(value)) {
    case ValueKind::Void:
      out += "<Void>";
      return;
    case ValueKind::Integer:
      out += std::to_string(integer(value));
      return;
    case ValueKind::Float: {
      char buffer[64];
      std::snprintf(buffer, sizeof buffer, "%.4f", floatValue(value));
      out += buffer;
      return;
    }
    case ValueKind::String:
      out += '"';
      out += string(value);
      out += '"';
      return;
    case ValueKind::Symbol:
      out += '#';
      out += symbolName(symbol(value));
      return;
    case ValueKind::LinearList: {
      const Slot& s = slot(value);
      out += '[';
      for (std::size_t i = 0; i < s.items.size(); ++i) {
        if (i > 0) out += ", ";
        printInto(out, s.items[i]);
      }
      out += ']';
      return;
    }
    case ValueKind::PropertyList: {
      const Slot& s = slot(value);
      if (s.items.empty()) {
        out += "[:]";
        return;
      }
      out += '[';
      for (std::size_t i = 0; i < s.items.size(); ++i) {
        if (i > 0) out += ", ";
        printInto(out, s.keys[i]);
        out += ": ";
        printInto(out, s.items[i]);
      }
      out += ']';
      return;
    }
  }
}

void ValueStore::failNext(HostOperation operation, int count) {
  failures_[static_cast<int>(operation)] = count;
}

void ValueStore::clearFailures() {
  std::fill(std::begin(failures_), std::end(failures_), 0);
  allocationFailures_ = 0;
  allocationsBeforeFailure_ = 0;
}

bool ValueStore::consumeFailure(HostOperation operation) {
  if (watcher_) watcher_(operation);
  int& remaining = failures_[static_cast<int>(operation)];
  if (remaining <= 0) return false;
  --remaining;
  return true;
}

void* ValueStore::allocateBlock(std::uint32_t size) {
  if (allocationFailures_ > 0) {
    if (allocationsBeforeFailure_ > 0) {
      --allocationsBeforeFailure_;
    } else {
      --allocationFailures_;
      return nullptr;
    }
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++liveBlocks_;
  return block;
}

void ValueStore::freeBlock(void* block) {
  if (block == nullptr) return;
  std::free(block);
  --liveBlocks_;
}

HostValueInterface* ValueStore::valueInterface() {
  return &interfaces_->values;
}
HostListInterface* ValueStore::listInterface() {
  return &interfaces_->lists;
}
HostAllocator* ValueStore::allocator() {
  return &interfaces_->allocator;
}
HostCallback* ValueStore::callback() {
  return &interfaces_->callback;
}

void ValueStore::publishInterface(const HostInterfaceId& iid, IMoaUnknown* object) {
  published_.emplace_back(iid, object);
}

void ValueStore::withdrawInterface(const HostInterfaceId& iid, IMoaUnknown* object) {
  std::erase_if(published_,
                [&](const auto& entry) { return entry.first == iid && entry.second == object; });
}

HostStatus ValueStore::queryInterface(const HostInterfaceId* iid, void** out) {
  *out = nullptr;
  if (consumeFailure(HostOperation::QueryInterface)) return kHostErrNoInterface;
  IMoaUnknown* found = nullptr;
  if (*iid == kIID_HostValueInterface) {
    found = &interfaces_->values;
  } else if (*iid == kIID_HostListInterface) {
    found = &interfaces_->lists;
  } else if (*iid == kIID_HostAllocator) {
    found = &interfaces_->allocator;
  } else if (*iid == kIID_HostCallback) {
    found = &interfaces_->callback;
  } else {
    for (const auto& [id, object] : published_) {
      if (id == *iid) found = object;
    }
  }
  if (found == nullptr) return kHostErrNoInterface;
  found->AddRef();
  *out = found;
  return kHostOk;
}

}  // namespace director
