#include "ValueOps.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "CaseFold.h"
#include "ScriptError.h"
#include "ValueFormat.h"

namespace tonvik {

namespace {

const char* operatorText(ArithmeticOp op) {
  switch (op) {
    case ArithmeticOp::Add:
      return "+";
    case ArithmeticOp::Subtract:
      return "-";
    case ArithmeticOp::Multiply:
      return "*";
    case ArithmeticOp::Divide:
      return "/";
    case ArithmeticOp::Mod:
      return "mod";
  }
  return "?";
}

std::int32_t wrap(std::int64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

// The operand as a number, or nothing if it is not one.
std::optional<Value> numericOperand(const Value& value) {
  if (value.isNumber()) return value;
  if (value.kind() == ValueKind::String) return parseNumber(value.asString());
  return std::nullopt;
}

double toDouble(const Value& number) {
  return number.kind() == ValueKind::Integer ? number.asInteger() : number.asFloat();
}

Value integerArithmetic(ArithmeticOp op, std::int64_t a, std::int64_t b) {
  switch (op) {
    case ArithmeticOp::Add:
      return Value::integer(wrap(a + b));
    case ArithmeticOp::Subtract:
      return Value::integer(wrap(a - b));
    case ArithmeticOp::Multiply:
      return Value::integer(wrap(a * b));
    case ArithmeticOp::Divide:
      if (b == 0) throw ScriptError("Division by zero");
      return Value::integer(wrap(a / b));
    case ArithmeticOp::Mod:
      if (b == 0) throw ScriptError("Division by zero");
      return Value::integer(wrap(a % b));
  }
  return Value();
}

Value floatArithmetic(ArithmeticOp op, double a, double b) {
  switch (op) {
    case ArithmeticOp::Add:
      return Value::floating(a + b);
    case ArithmeticOp::Subtract:
      return Value::floating(a - b);
    case ArithmeticOp::Multiply:
      return Value::floating(a * b);
    case ArithmeticOp::Divide:
      if (b == 0.0) throw ScriptError("Division by zero");
      return Value::floating(a / b);
    case ArithmeticOp::Mod:
      if (b == 0.0) throw ScriptError("Division by zero");
      return Value::floating(std::fmod(a, b));
  }
  return Value();
}

// VOID counts as 0 in comparisons, as Director has it.
std::optional<Value> comparableNumber(const Value& value) {
  if (value.isVoid()) return Value::integer(0);
  return numericOperand(value);
}

bool isText(const Value& value) {
  return value.kind() == ValueKind::String || value.kind() == ValueKind::Symbol;
}

int compareFolded(const std::string& a, const std::string& b) {
  std::string fa = foldCase(a);
  std::string fb = foldCase(b);
  return fa < fb ? -1 : (fa == fb ? 0 : 1);
}

bool isContainer(const Value& value) {
  return value.kind() == ValueKind::List || value.kind() == ValueKind::PropList;
}

// Two values neither of which is a list.
bool scalarsEqual(const Value& left, const Value& right) {
  if (left.kind() == ValueKind::Instance || right.kind() == ValueKind::Instance) {
    return left.reference() == right.reference();
  }
  if (left.kind() == ValueKind::Xtra || right.kind() == ValueKind::Xtra) {
    return left.kind() == right.kind() && equalsFolded(left.asXtra().name, right.asXtra().name);
  }
  if (left.isVoid() && right.isVoid()) return true;
  auto a = comparableNumber(left);
  auto b = comparableNumber(right);
  if (a && b) return toDouble(*a) == toDouble(*b);
  if (isText(left) && isText(right)) return equalsFolded(displayText(left), displayText(right));
  return false;
}

struct ListPairHash {
  std::size_t operator()(const std::pair<const Container*, const Container*>& pair) const {
    std::hash<const void*> hash;
    return hash(pair.first) * 31 + hash(pair.second);
  }
};

// Lists are compared item by item in a loop over the pairs of lists still to compare. A pair met
// a second time (shared lists, or lists that contain themselves) is not compared again: were it
// unequal, the comparison would already have ended. So any nesting compares, and in time linear
// in the pairs of lists met.
class ListComparison {
 public:
  bool equal(const Value& left, const Value& right) {
    if (!itemsMayBeEqual(left, right)) return false;
    while (!pending_.empty()) {
      auto [a, b] = pending_.back();
      pending_.pop_back();
      if (!contentsEqual(*a, *b)) return false;
    }
    return true;
  }

 private:
  // Equal as scalars, or a pair of lists that is the same list, already met or now queued.
  bool itemsMayBeEqual(const Value& left, const Value& right) {
    if (!isContainer(left) && !isContainer(right)) return scalarsEqual(left, right);
    if (left.kind() != right.kind()) return false;
    const Container* a = left.container();
    const Container* b = right.container();
    if (a != b && seen_.insert({a, b}).second) pending_.emplace_back(a, b);
    return true;
  }

  bool contentsEqual(const Container& left, const Container& right) {
    if (left.kind() == Container::Kind::List) {
      const auto& a = static_cast<const LinearList&>(left).items;
      const auto& b = static_cast<const LinearList&>(right).items;
      if (a.size() != b.size()) return false;
      for (std::size_t i = 0; i < a.size(); ++i) {
        if (!itemsMayBeEqual(a[i], b[i])) return false;
      }
      return true;
    }
    const auto& a = static_cast<const PropertyList&>(left).entries;
    const auto& b = static_cast<const PropertyList&>(right).entries;
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (!keysMatch(a[i].key, b[i].key) || !itemsMayBeEqual(a[i].value, b[i].value)) {
        return false;
      }
    }
    return true;
  }

  std::vector<std::pair<const Container*, const Container*>> pending_;
  std::unordered_set<std::pair<const Container*, const Container*>, ListPairHash> seen_;
};

// Copies every list in a loop, once each: a list that appears twice in the original appears
// twice in the copy as one new list, and a list that contains itself copies to one that does.
class DeepCopy {
 public:
  Value copy(const Value& value) {
    Value result = copyOf(value);
    while (!pending_.empty()) {
      auto [original, copy] = pending_.back();
      pending_.pop_back();
      fill(*original, *copy);
    }
    return result;
  }

 private:
  // The value itself, or the new list that stands for an original list.
  Value copyOf(const Value& value) {
    const Container* original = value.container();
    if (original == nullptr) return value;
    auto [found, added] = copies_.try_emplace(original);
    if (added) {
      found->second = value.kind() == ValueKind::List ? Value::newList() : Value::newPropList();
      pending_.emplace_back(original, found->second.container());
    }
    return found->second;
  }

  void fill(const Container& original, Container& copy) {
    if (original.kind() == Container::Kind::List) {
      const auto& items = static_cast<const LinearList&>(original).items;
      auto& copied = static_cast<LinearList&>(copy).items;
      copied.reserve(items.size());
      for (const Value& item : items) copied.push_back(copyOf(item));
      return;
    }
    auto& copied = static_cast<PropertyList&>(copy);
    for (const Property& entry : static_cast<const PropertyList&>(original).entries) {
      copied.add(entry.key, copyOf(entry.value));
    }
  }

  std::unordered_map<const Container*, Value> copies_;
  std::vector<std::pair<const Container*, Container*>> pending_;
};

}  // namespace

std::string describeValue(const Value& value) {
  switch (value.kind()) {
    case ValueKind::Void:
      return "<Void>";
    case ValueKind::Integer:
      return "integer " + formatValue(value);
    case ValueKind::Float:
      return "float " + formatValue(value);
    case ValueKind::String:
      return "string " + formatValue(value);
    case ValueKind::Symbol:
      return "symbol " + formatValue(value);
    case ValueKind::List:
      return "a list";
    case ValueKind::PropList:
      return "a property list";
    case ValueKind::Xtra:
      return formatValue(value);
    case ValueKind::Instance:
      return formatValue(value);
  }
  return "a value";
}

std::optional<Value> parseNumber(std::string_view text) {
  std::string trimmed(text);
  auto first = trimmed.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return std::nullopt;
  auto last = trimmed.find_last_not_of(" \t\r\n");
  trimmed = trimmed.substr(first, last - first + 1);
  const char* begin = trimmed.c_str();
  char* end = nullptr;
  if (trimmed.find_first_of(".eE") == std::string::npos) {
    long long integer = std::strtoll(begin, &end, 10);
    if (*end == '\0' && integer >= std::numeric_limits<std::int32_t>::min() &&
        integer <= std::numeric_limits<std::int32_t>::max()) {
      return Value::integer(static_cast<std::int32_t>(integer));
    }
  }
  double floating = std::strtod(begin, &end);
  // strtod also reads "inf", "nan" and hexadecimal, which no Lingo number looks like.
  bool plainDigits = trimmed.find_first_of("xXiInN") == std::string::npos;
  if (*end == '\0' && plainDigits) return Value::floating(floating);
  return std::nullopt;
}

Value arithmetic(ArithmeticOp op, const Value& left, const Value& right) {
  auto a = numericOperand(left);
  auto b = numericOperand(right);
  if (!a || !b) {
    throw ScriptError(std::string("Cannot compute ") + describeValue(left) + " " +
                      operatorText(op) + " " + describeValue(right));
  }
  if (a->kind() == ValueKind::Integer && b->kind() == ValueKind::Integer) {
    return integerArithmetic(op, a->asInteger(), b->asInteger());
  }
  return floatArithmetic(op, toDouble(*a), toDouble(*b));
}

Value negate(const Value& operand) {
  auto number = numericOperand(operand);
  if (!number) throw ScriptError("Cannot negate " + describeValue(operand));
  if (number->kind() == ValueKind::Integer) {
    return Value::integer(wrap(-static_cast<std::int64_t>(number->asInteger())));
  }
  return Value::floating(-number->asFloat());
}

bool lingoEquals(const Value& left, const Value& right) {
  if (!isContainer(left) && !isContainer(right)) return scalarsEqual(left, right);
  return ListComparison().equal(left, right);
}

int lingoCompare(const Value& left, const Value& right) {
  auto a = comparableNumber(left);
  auto b = comparableNumber(right);
  if (a && b) {
    double x = toDouble(*a);
    double y = toDouble(*b);
    return x < y ? -1 : (x > y ? 1 : 0);
  }
  if ((isText(left) || left.isNumber()) && (isText(right) || right.isNumber())) {
    return compareFolded(displayText(left), displayText(right));
  }
  throw ScriptError("Cannot compare " + describeValue(left) + " with " + describeValue(right));
}

bool isTrue(const Value& value) {
  if (value.isVoid()) return false;
  auto number = numericOperand(value);
  if (!number) throw ScriptError("Expected TRUE or FALSE, got " + describeValue(value));
  return toDouble(*number) != 0.0;
}

Value deepCopy(const Value& value) {
  return DeepCopy().copy(value);
}

}  // namespace tonvik
