// The interpreter's side of the Xtra seam, against a fake Xtra.
#include "XtraBridge.h"

#include <gtest/gtest.h>

#include "CaseFold.h"
#include "ScriptRunner.h"
#include "ValueFormat.h"

namespace tonvik {
namespace {

constexpr XtraStatus kWrongType = static_cast<XtraStatus>(0x80040101u);
constexpr XtraStatus kOutOfMemory = static_cast<XtraStatus>(0x80040002u);

struct FakeLog {
  int made = 0;
  int destroyed = 0;
  std::vector<std::string> calls;
};

class FakeObject : public XtraObject {
 public:
  explicit FakeObject(std::shared_ptr<FakeLog> log) : log_(std::move(log)) { ++log_->made; }
  ~FakeObject() override { ++log_->destroyed; }

  std::optional<std::string> findMethod(std::string_view name) const override {
    for (const char* method : {"Init", "Echo", "Fail"}) {
      if (equalsFolded(name, method)) return std::string(method);
    }
    return std::nullopt;
  }

  XtraCallResult call(const std::string& method, const std::vector<Value>& args) override {
    log_->calls.push_back(method + " " + formatValue(Value::newList(args)));
    if (method == "Fail") return {kWrongType, Value()};
    if (method == "Echo") return {0, Value::newList(args)};
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
    if (failNext) return {kOutOfMemory, nullptr};
    return {0, std::make_shared<FakeObject>(log_)};
  }

  bool failNext = false;

 private:
  std::shared_ptr<FakeLog> log_;
};

class XtraBridgeTest : public ScriptRunner {
 protected:
  XtraBridgeTest() {
    auto bridge = std::make_shared<FakeBridge>(log_);
    bridge_ = bridge.get();
    interpreter_->setXtraBridge(std::move(bridge));
  }

  std::shared_ptr<FakeLog> log_ = std::make_shared<FakeLog>();
  FakeBridge* bridge_ = nullptr;
};

TEST_F(XtraBridgeTest, UnknownMethodsAreScriptErrors) {
  run("obj = new(xtra \"Tonvik\")");
  EXPECT_STREQ(errorOf("obj.OpenPort(1)").what(), "Xtra \"Tonvik\" has no method OpenPort");
  EXPECT_STREQ(errorOf("OpenPort(obj, 1)").what(), "Xtra \"Tonvik\" has no method OpenPort");
  EXPECT_STREQ(errorOf("put obj.status").what(),
               "<Xtra child \"Tonvik\" 1> has no property status");
  EXPECT_TRUE(log_->calls.empty());
}

TEST_F(XtraBridgeTest, AFailingCallNamesTheMethodAndItsStatusInHex) {
  ScriptError error = errorOf("obj = new(xtra \"Tonvik\")\n\nobj.fail()");
  EXPECT_STREQ(error.what(), "Fail failed with status 0x80040101");
  EXPECT_EQ(error.line(), 3);
  bridge_->failNext = true;
  EXPECT_STREQ(errorOf("x = new(xtra \"Tonvik\")").what(), "new failed with status 0x80040002");
  EXPECT_STREQ(errorOf("x = xtra \"Fenwold\"").what(), "Xtra not found: \"Fenwold\"");
}

TEST_F(XtraBridgeTest, DropsAnInstanceWithItsLastReference) {
  run("a = new(xtra \"Tonvik\")\nb = a\nl = [a]\na = 0\nb = VOID");
  EXPECT_EQ(log_->destroyed, 0);
  run("l = 0");
  EXPECT_EQ(log_->destroyed, 1);
  run("on make\n  local = new(xtra \"Tonvik\")\n  return 1\nend\nmake()\nput new(xtra \"Tonvik\")");
  EXPECT_EQ(log_->destroyed, 3);
}

TEST_F(XtraBridgeTest, ReleasesInstancesHeldByListsThatHoldThemselves) {
  run("l = [new(xtra \"Tonvik\")]\nappend(l, l)\np = [#self: 0, #obj: new(xtra \"Tonvik\")]\n"
      "p.self = p");
  EXPECT_EQ(log_->destroyed, 0);
  interpreter_->releaseValues();
  EXPECT_EQ(log_->destroyed, 2);
}

TEST_F(XtraBridgeTest, ReleasesEveryInstanceBeforeTheBridgeGoes) {
  run("global keep\nkeep = [new(xtra \"Tonvik\")]\nappend(keep, keep)\nother = new(xtra "
      "\"Tonvik\")");
  interpreter_.reset();  // FakeBridge's destructor checks that nothing is left
  EXPECT_EQ(log_->destroyed, 2);
}

}  // namespace
}  // namespace tonvik
