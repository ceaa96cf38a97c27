#include "ValueFormat.h"

#include <cmath>
#include <cstdio>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Limits.h"

namespace tonvik {

namespace {

constexpr int kFloatDecimals = 4;
// A list that contains itself prints this where it recurs instead of recursing forever.
constexpr const char* kRecurringList = "[...]";

// Lists print in a loop with their own stack of open lists, so any depth prints; a list that
// is shared prints each time it appears, so the text is held to the string limit.
class Formatter {
 public:
  void write(const Value& value) {
    writeValue(value);
    while (!open_.empty()) step();
  }

  std::string take() { return std::move(out_); }

 private:
  struct OpenList {
    const Container* list;
    std::size_t next = 0;
    bool valueDue = false;  // a property list's key is written, its value is next
  };

  void append(std::string_view text) {
    checkStringLength(out_.size() + text.size());
    out_ += text;
  }

  void writeValue(const Value& value) {
    switch (value.kind()) {
      case ValueKind::Void:
        append("<Void>");
        break;
      case ValueKind::Integer:
        append(std::to_string(value.asInteger()));
        break;
      case ValueKind::Float:
        append(formatFloat(value.asFloat()));
        break;
      case ValueKind::String:
        append("\"");
        append(value.asString());
        append("\"");
        break;
      case ValueKind::Symbol:
        append("#");
        append(value.asSymbol().name());
        break;
      case ValueKind::List:
      case ValueKind::PropList:
        open(*value.container());
        break;
      case ValueKind::Xtra:
        append("<Xtra \"" + value.asXtra().name + "\">");
        break;
      case ValueKind::Instance: {
        const XtraInstance& instance = value.asInstance();
        append("<Xtra child \"" + instance.xtraName + "\" " + std::to_string(instance.serial) +
               ">");
        break;
      }
    }
  }

  void open(const Container& list) {
    if (!onPath_.insert(&list).second) {
      append(kRecurringList);
      return;
    }
    bool emptyPropList = list.kind() == Container::Kind::PropList &&
                         static_cast<const PropertyList&>(list).entries.empty();
    append(emptyPropList ? "[:" : "[");
    open_.push_back(OpenList{&list});
  }

  // Writes the next piece of the innermost open list, or closes it.
  void step() {
    OpenList& top = open_.back();
    if (top.list->kind() == Container::Kind::List) {
      const auto& items = static_cast<const LinearList*>(top.list)->items;
      if (top.next == items.size()) return close();
      if (top.next > 0) append(", ");
      writeValue(items[top.next++]);
      return;
    }
    const auto& entries = static_cast<const PropertyList*>(top.list)->entries;
    if (top.valueDue) {
      top.valueDue = false;
      append(": ");
      writeValue(entries[top.next++].value);
      return;
    }
    if (top.next == entries.size()) return close();
    if (top.next > 0) append(", ");
    top.valueDue = true;
    writeValue(entries[top.next].key);
  }

  void close() {
    append("]");
    onPath_.erase(open_.back().list);
    open_.pop_back();
  }

  std::string out_;
  std::vector<OpenList> open_;
  std::unordered_set<const Container*> onPath_;
};

}  // namespace

constexpr std::size_t kFloatTextCapacity = 330;

std::string formatFloat(double value) {
  if (std::isnan(value)) return "NAN";
  if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
  // The largest double has 309 digits before the point; four decimals and a sign fit in this.
  char text[kFloatTextCapacity];
  std::snprintf(text, sizeof text, "%.*f", kFloatDecimals, value);
  return text;
}

std::string formatValue(const Value& value) {
  if (value.kind() == ValueKind::String) return "\"" + value.asString() + "\"";
  Formatter formatter;
  formatter.write(value);
  return formatter.take();
}

namespace {

// A string's own text, or the text of any other value made in `storage`.
std::string_view textOf(const Value& value, std::string& storage) {
  if (value.kind() == ValueKind::String) return value.asString();
  storage = displayText(value);
  return storage;
}

}  // namespace

std::string joinText(const Value& left, std::string_view separator, const Value& right) {
  std::string leftStorage;
  std::string rightStorage;
  std::string_view a = textOf(left, leftStorage);
  std::string_view b = textOf(right, rightStorage);
  checkStringLength(a.size() + separator.size() + b.size());
  std::string joined;
  joined.reserve(a.size() + separator.size() + b.size());
  joined.append(a).append(separator).append(b);
  return joined;
}

void appendText(std::string& text, std::string_view separator, const Value& value) {
  std::string storage;
  std::string_view added = textOf(value, storage);
  checkStringLength(text.size() + separator.size() + added.size());
  text.append(separator).append(added);
}

std::string displayText(const Value& value) {
  switch (value.kind()) {
    case ValueKind::Void:
      return "";
    case ValueKind::String:
      return value.asString();
    case ValueKind::Symbol:
      return value.asSymbol().name();
    default:
      return formatValue(value);
  }
}

}  // namespace tonvik
