#include "LoaderBridge.h"

#include "HostValues.h"

namespace tonvik {

namespace {

class LoadedXtraObject final : public XtraObject {
 public:
  LoadedXtraObject(std::shared_ptr<HostState> host,
                   std::unique_ptr<director::XtraInstance> instance)
      : host_(std::move(host)), instance_(std::move(instance)) {}

  std::optional<std::string> findMethod(std::string_view name) const override {
    const auto number = instance_->bundle().methodNumber(name);
    if (!number) return std::nullopt;
    return instance_->bundle().methods()[static_cast<std::size_t>(*number)].name;
  }

  XtraCallResult call(const std::string& method, const std::vector<Value>& args) override {
    director::ValueStore& store = host_->store;
    std::vector<LingoValue> hostArgs;
    hostArgs.reserve(args.size());
    try {
      for (const Value& arg : args) hostArgs.push_back(toHostValue(store, arg));
    } catch (...) {
      for (LingoValue& arg : hostArgs) store.release(arg);
      throw;
    }
    director::XtraCallResult called = instance_->call(method, hostArgs);
    for (LingoValue& arg : hostArgs) store.release(arg);
    XtraCallResult result;
    result.status = called.status;
    result.result = fromHostValue(store, called.result);
    store.release(called.result);
    return result;
  }

 private:
  // Declared first so that it is destroyed last: the instance needs the store and its bundle.
  std::shared_ptr<HostState> host_;
  std::unique_ptr<director::XtraInstance> instance_;
};

}  // namespace

std::optional<std::string> LoaderBridge::findXtra(std::string_view name) const {
  const auto bundle = host_->loader.find(name);
  if (!bundle) return std::nullopt;
  return bundle->lingoName();
}

XtraNewResult LoaderBridge::newInstance(const std::string& xtraName) {
  XtraNewResult result;
  const auto bundle = host_->loader.find(xtraName);
  if (!bundle) {
    result.status = kHostErrNoClass;
    return result;
  }
  director::NewInstanceResult made = bundle->newInstance();
  result.status = made.status;
  if (made.status == kHostOk && made.instance) {
    result.object = std::make_shared<LoadedXtraObject>(host_, std::move(made.instance));
  }
  return result;
}

}  // namespace tonvik
