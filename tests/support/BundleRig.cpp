#include "BundleRig.h"

#include <cstdio>

#include "LingoValues.h"

BundleRig::BundleRig(const char* path) {
  if (!loader.loadBundle(path).has_value()) bundle = loader.find("Tonvik");
}

std::string BundleRig::create() {
  director::NewInstanceResult made = bundle->newInstance();
  instance = std::move(made.instance);
  return hexStatus(made.status);
}

std::string BundleRig::call(std::string_view method, std::vector<LingoValue> arguments) {
  std::string printed = "no instance";
  if (instance != nullptr) {
    director::XtraCallResult called = instance->call(method, arguments);
    printed = withoutTimestamp(printAndRelease(store, called.result));
    if (!called.methodFound) printed += " not found";
    if (called.status != kHostOk) printed += " status " + hexStatus(called.status);
  }
  for (LingoValue& argument : arguments) store.release(argument);
  return printed;
}

std::string BundleRig::call(std::string_view method, const std::vector<std::int32_t>& integers) {
  std::vector<LingoValue> arguments;
  for (std::int32_t number : integers) arguments.push_back(store.makeInteger(number));
  return call(method, std::move(arguments));
}

std::string hexStatus(HostStatus status) {
  char text[16];
  std::snprintf(text, sizeof text, "%x", static_cast<unsigned>(status));
  return text;
}
