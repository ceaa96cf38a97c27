#include "ValueFormat.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace tonvik {

namespace {

constexpr int kFloatDecimals = 4;
// A list that contains itself prints this where it recurs instead of recursing forever.
constexpr const char* kRecurringList = "[...]";

class Formatter {
 public:
  void write(const Value& value) {
    switch (value.kind()) {
      case ValueKind::Void:
        out_ += "<Void>";
        break;
      case ValueKind::Integer:
        out_ += std::to_string(value.asInteger());
        break;
      case ValueKind::Float:
        out_ += formatFloat(value.asFloat());
        break;
      case ValueKind::String:
        out_ += '"';
        out_ += value.asString();
        out_ += '"';
        break;
      case ValueKind::Symbol:
        out_ += '#';
        out_ += value.asSymbol().name();
        break;
      case ValueKind::List:
        writeList(value);
        break;
      case ValueKind::PropList:
        writePropList(value);
        break;
      case ValueKind::Xtra:
        out_ += "<Xtra \"" + value.asXtra().name + "\">";
        break;
      case ValueKind::Instance: {
        const XtraInstance& instance = value.asInstance();
        out_ +=
            "<Xtra child \"" + instance.xtraName + "\" " + std::to_string(instance.serial) + ">";
        break;
      }
    }
  }

  std::string take() { return std::move(out_); }

 private:
  bool enter(const Value& value) {
    for (const void* open : open_) {
      if (open == value.reference()) {
        out_ += kRecurringList;
        return false;
      }
    }
    open_.push_back(value.reference());
    return true;
  }

  void writeList(const Value& value) {
    if (!enter(value)) return;
    out_ += '[';
    const auto& items = value.asList().items;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (i > 0) out_ += ", ";
      write(items[i]);
    }
    out_ += ']';
    open_.pop_back();
  }

  void writePropList(const Value& value) {
    if (!enter(value)) return;
    const auto& entries = value.asPropList().entries;
    if (entries.empty())
      out_ += "[:";
    else
      out_ += '[';
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i > 0) out_ += ", ";
      write(entries[i].key);
      out_ += ": ";
      write(entries[i].value);
    }
    out_ += ']';
    open_.pop_back();
  }

  std::string out_;
  std::vector<const void*> open_;
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
  Formatter formatter;
  formatter.write(value);
  return formatter.take();
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
