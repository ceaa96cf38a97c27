// The seam between the interpreter and the Xtras it loads. The interpreter knows Xtras only
// through these two interfaces; the glue that loads bundles implements them and converts values
// at this boundary.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Value.h"

namespace tonvik {

// A host status as the Xtra returns it: 0 for success.
using XtraStatus = std::int32_t;

struct XtraCallResult {
  XtraStatus status = 0;
  // VOID when the method left its result untouched.
  Value result;
};

// One instance made by `new`. The interpreter drops it when the last script reference goes;
// the destructor is where the glue gives the instance back to its Xtra.
class XtraObject {
 public:
  virtual ~XtraObject() = default;

  // The method's name as the Xtra's message table spells it, if the table declares it; the
  // lookup ignores case.
  virtual std::optional<std::string> findMethod(std::string_view name) const = 0;

  // Calls a method found by findMethod. `args` are the script's arguments after the instance.
  virtual XtraCallResult call(const std::string& method, const std::vector<Value>& args) = 0;
};

struct XtraNewResult {
  XtraStatus status = 0;
  // Set when status is 0.
  std::shared_ptr<XtraObject> object;
};

class XtraBridge {
 public:
  virtual ~XtraBridge() = default;

  // The Xtra's own spelling of its name, if one by that name (ignoring case) is loaded.
  virtual std::optional<std::string> findXtra(std::string_view name) const = 0;

  virtual XtraNewResult newInstance(const std::string& xtraName) = 0;
};

}  // namespace tonvik
