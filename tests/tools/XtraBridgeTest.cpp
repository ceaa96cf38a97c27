// The interpreter's side of the Xtra seam, against a fake Xtra: instances in cycles go when the
// handler that made the cycle returns, or when the interpreter lets go. An instance going with its
// last reference is run by xtra_lifecycle.ls; unknown methods, failing calls and Xtras not found by
// xtra_error_*.ls.
#include "XtraBridge.h"

#include <gtest/gtest.h>

#include "CaseFold.h"
#include "ScriptRunner.h"

namespace tonvik {
namespace {

struct FakeLog {
  int made = 0;
  int destroyed = 0;
};

class FakeObject : public XtraObject {
 public:
  explicit FakeObject(std::shared_ptr<FakeLog> log) : log_(std::move(log)) { ++log_->made; }
  ~FakeObject() override { ++log_->destroyed; }

  std::optional<std::string> findMethod(std::string_view) const override { return std::nullopt; }
  XtraCallResult call(const std::string&, const std::vector<Value>&) override {
    return {0, Value()};
  }

 private:
  std::shared_ptr<FakeLog> log_;
};

class FakeBridge : public XtraBridge {
 public:
  explicit FakeBridge(std::shared_ptr<FakeLog> log) : log_(std::move(log)) {}
  // The interpreter must drop every instance before it lets go of the bridge.
  ~FakeBridge() override { EXPECT_EQ(log_->made, log_->destroyed); }

  std::optional<std::string> findXtra(std::string_view name) const override {
    if (equalsFolded(name, "Tonvik")) return std::string("Tonvik");
    return std::nullopt;
  }

  XtraNewResult newInstance(const std::string&) override {
    return {0, std::make_shared<FakeObject>(log_)};
  }

 private:
  std::shared_ptr<FakeLog> log_;
};

class XtraBridgeTest : public ScriptRunner {
 protected:
  XtraBridgeTest() {
    interpreter_->setXtraBridge(std::make_shared<FakeBridge>(log_));
    interpreter_->registerHostFunction("alive", [log = log_](const std::vector<Value>&) {
      return Value::integer(log->made - log->destroyed);
    });
  }

  std::shared_ptr<FakeLog> log_ = std::make_shared<FakeLog>();
};

// At exit the tool lets go of the values first; the interpreter going lets go of the rest.
TEST_F(XtraBridgeTest, ReleasesInstancesHeldByListsThatHoldThemselvesWhenTheInterpreterLetsGo) {
  run("l = [new(xtra \"Tonvik\")]\nappend(l, l)\np = [#self: 0, #obj: new(xtra \"Tonvik\")]\n"
      "p.self = p");
  EXPECT_EQ(log_->destroyed, 0);
  interpreter_->releaseValues();
  EXPECT_EQ(log_->destroyed, 2);
  run("global keep\nkeep = [new(xtra \"Tonvik\")]\nappend(keep, keep)\nother = new(xtra "
      "\"Tonvik\")");
  interpreter_.reset();  // FakeBridge's destructor checks that nothing is left
  EXPECT_EQ(log_->destroyed, 4);
}

// `alive()` counts the instances not yet released, as the script sees it.
TEST_F(XtraBridgeTest, ReleasesInstancesInCyclesWhenTheHandlerThatLeftThemReturns) {
  run("on cycle\n  l = [new(xtra \"Tonvik\")]\n  add(l, l)\n  return l\nend\n"
      "on made\n  return [new(xtra \"Tonvik\")]\nend");
  const std::pair<const char*, const char*> cases[] = {
      {"on f\n  l = [new(xtra \"Tonvik\")]\n  add(l, l)\nend\nf()\nput alive()", "-- 0\n"},
      // A cycle closed on a list that another handler made.
      {"on f\n  l = made()\n  add(l, l)\nend\nf()\nput alive()", "-- 0\n"},
      {"on f\n  p = [#o: new(xtra \"Tonvik\")]\n  p.me = p\nend\nf()\nput alive()", "-- 0\n"},
      // What the handler returns stays, until the caller lets go and returns in turn.
      {"on f\n  k = cycle()\n  put alive()\nend\nf()\nput alive()", "-- 1\n-- 0\n"},
      {"on f\n  global g\n  g = cycle()\nend\nf()\nput alive()\ng = 0\nput alive()",
       "-- 1\n-- 1\n"},
  };
  for (const auto& [script, expected] : cases) {
    EXPECT_EQ(run(script), expected) << script;
    // A cycle left by top-level statements goes when the run ends.
    EXPECT_EQ(run("put alive()"), "-- 0\n") << script;
  }
}

}  // namespace
}  // namespace tonvik
