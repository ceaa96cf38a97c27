// Lingo values for test arguments, made in a store and released together when the maker goes,
// so that a census taken around a call counts only what the code under test made.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "ValueStore.h"

class LingoValues {
 public:
  explicit LingoValues(director::ValueStore& store) : store_(store) {}
  ~LingoValues() { releaseAll(); }
  LingoValues(const LingoValues&) = delete;
  LingoValues& operator=(const LingoValues&) = delete;

  LingoValue sym(const char* name) { return keep(store_.makeSymbol(name)); }
  LingoValue num(std::int32_t number) { return keep(store_.makeInteger(number)); }
  LingoValue list(std::initializer_list<LingoValue> items);
  LingoValue list(const std::vector<std::int32_t>& numbers);
  // [#type, numbers...]: SendMessage reads a message by position.
  LingoValue message(const char* type, const std::vector<std::int32_t>& numbers = {});
  LingoValue sysex(std::int32_t manufacturer, const std::vector<std::int32_t>& data);
  void releaseAll();

 private:
  LingoValue keep(LingoValue value) {
    made_.push_back(value);
    return value;
  }

  director::ValueStore& store_;
  std::vector<LingoValue> made_;
};

// The value as the message window prints it; the value is released.
std::string printAndRelease(director::ValueStore& store, LingoValue value);
// The #timestamp of each received message in the list (its last property); the list is released.
std::vector<std::int32_t> timestampsAndRelease(director::ValueStore& store, LingoValue messages);
// A received message without its #timestamp, which varies from run to run.
std::string withoutTimestamp(std::string printed);
