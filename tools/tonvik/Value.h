// The values a script works with. Lists and property lists are shared by reference, as in Lingo:
// assigning a list to a second variable gives two names for one list (Container.h). Xtra
// instances are shared the same way and go away with their last reference. Strings cannot be
// changed, so copies share one text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Container.h"
#include "Symbol.h"

namespace tonvik {

class XtraObject;
class Value;

enum class ValueKind { Void, Integer, Float, String, Symbol, List, PropList, Xtra, Instance };

struct LinearList final : Container {
  // Out of line, where Value is complete.
  LinearList();
  ~LinearList() override;
  void clearValues() override;

  std::vector<Value> items;
};

struct Property;

struct PropertyList final : Container {
  PropertyList();
  ~PropertyList() override;
  void clearValues() override;

  std::vector<Property> entries;

  // The first entry with that key, or null; a list may hold a key more than once.
  Property* find(const Value& key);
  void add(Value key, Value value);
};

// What `xtra "Name"` evaluates to: the Xtra itself, from which `new` makes instances.
struct XtraRef {
  std::string name;
};

struct XtraInstance {
  std::string xtraName;
  // The Nth instance this interpreter created, so that printed instances stay comparable.
  int serial = 0;
  std::shared_ptr<XtraObject> object;
};

class Value {
 public:
  Value() = default;

  static Value integer(std::int32_t v) { return Value(Data(std::in_place_index<1>, v)); }
  static Value floating(double v) { return Value(Data(std::in_place_index<2>, v)); }
  // A script error if the text is longer than valueLimits() allow.
  static Value string(std::string v);
  static Value symbol(Symbol v) { return Value(Data(std::in_place_index<4>, v)); }
  static Value symbol(std::string_view name) { return symbol(Symbol::intern(name)); }
  static Value newList(std::vector<Value> items = {});
  static Value newPropList();
  static Value xtra(std::string name) { return Value(Data(XtraRef{std::move(name)})); }
  static Value instance(std::shared_ptr<XtraInstance> v) { return Value(Data(std::move(v))); }
  static Value boolean(bool v) { return integer(v ? 1 : 0); }

  ValueKind kind() const { return static_cast<ValueKind>(data_.index()); }
  bool isVoid() const { return kind() == ValueKind::Void; }
  bool isNumber() const { return kind() == ValueKind::Integer || kind() == ValueKind::Float; }

  std::int32_t asInteger() const { return std::get<1>(data_); }
  double asFloat() const { return std::get<2>(data_); }
  const std::string& asString() const { return *std::get<3>(data_); }
  Symbol asSymbol() const { return std::get<4>(data_); }
  LinearList& asList() const { return *std::get<5>(data_); }
  PropertyList& asPropList() const { return *std::get<6>(data_); }
  const XtraRef& asXtra() const { return std::get<7>(data_); }
  XtraInstance& asInstance() const { return *std::get<8>(data_); }

  // The address of the shared list, property list or instance, for identity tests; else null.
  const void* reference() const;
  // The list or property list, else null.
  Container* container() const;

 private:
  using Data =
      std::variant<std::monostate, std::int32_t, double, std::shared_ptr<const std::string>, Symbol,
                   boost::intrusive_ptr<LinearList>, boost::intrusive_ptr<PropertyList>, XtraRef,
                   std::shared_ptr<XtraInstance>>;
  explicit Value(Data data) : data_(std::move(data)) {}

  Data data_;
};

struct Property {
  Value key;
  Value value;
};

// Property keys match by kind and value; symbols ignore case, strings do not.
bool keysMatch(const Value& a, const Value& b);

}  // namespace tonvik
