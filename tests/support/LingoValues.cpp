#include "LingoValues.h"

LingoValue LingoValues::list(std::initializer_list<LingoValue> items) {
  LingoValue made = keep(store_.makeLinearList());
  for (const LingoValue& item : items) store_.append(made, item);
  return made;
}

LingoValue LingoValues::list(const std::vector<std::int32_t>& numbers) {
  LingoValue made = keep(store_.makeLinearList());
  for (std::int32_t number : numbers) store_.append(made, num(number));
  return made;
}

LingoValue LingoValues::message(const char* type, const std::vector<std::int32_t>& numbers) {
  LingoValue made = list({sym(type)});
  for (std::int32_t number : numbers) store_.append(made, num(number));
  return made;
}

LingoValue LingoValues::sysex(std::int32_t manufacturer, const std::vector<std::int32_t>& data) {
  return list({sym("systemExclusive"), num(manufacturer), list(data)});
}

void LingoValues::releaseAll() {
  for (LingoValue& value : made_) store_.release(value);
  made_.clear();
}

std::string printAndRelease(director::ValueStore& store, LingoValue value) {
  std::string printed = store.print(value);
  store.release(value);
  return printed;
}

std::vector<std::int32_t> timestampsAndRelease(director::ValueStore& store, LingoValue messages) {
  std::vector<std::int32_t> stamps;
  for (std::int32_t i = 1; i <= store.count(messages); ++i) {
    LingoValue message = store.itemAt(messages, i);
    LingoValue stamp = store.itemAt(message, store.count(message));
    stamps.push_back(store.integer(stamp));
    store.release(stamp);
    store.release(message);
  }
  store.release(messages);
  return stamps;
}

std::string withoutTimestamp(std::string printed) {
  const auto cut = printed.find(", #timestamp:");
  return cut == std::string::npos ? printed : printed.substr(0, cut) + "]";
}
