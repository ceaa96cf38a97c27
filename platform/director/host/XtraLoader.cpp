#include "XtraLoader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "MoaRegistry.h"

namespace director {

namespace {

constexpr std::string_view kBundleExtension = ".xtra";
constexpr std::string_view kXtrasFolderName = "Xtras";
constexpr char kMessageTableKey[] = "msgTable";
constexpr std::int32_t kNewSelector = 0;
constexpr int kHexStatusDigits = 8;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  });
}

std::string hexStatus(HostStatus status) {
  char text[2 + kHexStatusDigits + 1];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
  return text;
}

bool isNullId(const HostInterfaceId& id) {
  return id == kNullInterfaceId;
}

template <class Function>
bool lookUp(void* library, const char* name, Function* out) {
  *out = reinterpret_cast<Function>(dlsym(library, name));
  return *out != nullptr;
}

std::optional<std::string> findExports(void* library, XtraExportTable* exports) {
  if (!lookUp(library, "ppcSetFileRef", &exports->setFileRef)) return "ppcSetFileRef";
  if (!lookUp(library, "DllGetClassObject", &exports->getClassObject)) return "DllGetClassObject";
  if (!lookUp(library, "DllCanUnloadNow", &exports->canUnloadNow)) return "DllCanUnloadNow";
  if (!lookUp(library, "DllGetClassForm", &exports->getClassForm)) return "DllGetClassForm";
  if (!lookUp(library, "DllGetInterface", &exports->getInterface)) return "DllGetInterface";
  if (!lookUp(library, "DllGetClassInfo", &exports->getClassInfo)) return "DllGetClassInfo";
  return std::nullopt;
}

}  // namespace

XtraInstance::XtraInstance(std::shared_ptr<XtraBundle> bundle, HostObject* object,
                           IMoaMmXScript* script)
    : bundle_(std::move(bundle)), object_(object), script_(script) {}

XtraInstance::~XtraInstance() {
  script_->Release();
  object_->Release();
}

XtraCallResult XtraInstance::call(std::string_view method,
                                  const std::vector<LingoValue>& arguments) {
  const std::optional<std::int32_t> selector = bundle_->methodNumber(method);
  if (!selector) return XtraCallResult{};
  return call(*selector, arguments);
}

XtraCallResult XtraInstance::call(std::int32_t selector, const std::vector<LingoValue>& arguments) {
  std::size_t declared = 0;
  if (selector >= 0 && static_cast<std::size_t>(selector) < bundle_->methods().size()) {
    declared = bundle_->methods()[static_cast<std::size_t>(selector)].arguments.size();
  }
  // Element 0 is `me`, which no Xtra here reads; missing declared arguments stay VOID.
  std::vector<LingoValue> record(1 + std::max(declared, arguments.size()));
  std::copy(arguments.begin(), arguments.end(), record.begin() + 1);

  MoaMmCallInfo callInfo{};
  callInfo.methodSelector = selector;
  callInfo.argumentCount = static_cast<std::int32_t>(record.size());
  callInfo.arguments = record.data();
  XtraCallResult outcome;
  outcome.methodFound = true;
  outcome.status = script_->Call(&callInfo);
  outcome.result = callInfo.resultValue;
  return outcome;
}

XtraBundle::XtraBundle(std::string path, void* library, const XtraExportTable& exports,
                       ValueStore& store)
    : path_(std::move(path)), library_(library), exports_(exports), store_(store) {}

XtraBundle::~XtraBundle() {
  // A bundle with records alive keeps its code mapped: somebody may still call into it.
  if (canUnload()) dlclose(library_);
}

std::optional<std::int32_t> XtraBundle::methodNumber(std::string_view name) const {
  for (std::size_t i = 0; i < methods().size(); ++i) {
    if (equalsIgnoringCase(methods()[i].name, name)) return static_cast<std::int32_t>(i);
  }
  return std::nullopt;
}

std::optional<XtraClassForm> XtraBundle::classForm(const HostInterfaceId& interfaceId) const {
  for (const XtraClassInfo& record : classInfo_) {
    if (!(record.interfaceId == interfaceId)) continue;
    XtraClassForm form{record.classId, 0, nullptr, nullptr, exports_.getInterface};
    if (exports_.getClassForm(&record.classId, &form.objectSize, &form.create, &form.destroy) !=
        kHostOk) {
      return std::nullopt;
    }
    return form;
  }
  return std::nullopt;
}

NewInstanceResult XtraBundle::newInstance(const std::vector<LingoValue>& arguments) {
  NewInstanceResult outcome;
  const std::optional<XtraClassForm> form = classForm(kIID_IMoaMmXScript);
  if (!form) {
    outcome.status = kHostErrNoClass;
    return outcome;
  }
  HostObject* object =
      HostObject::create(*form, store_.callback(), store_.allocator(), &outcome.status);
  if (outcome.status != kHostOk) {
    object->Release();
    return outcome;
  }
  void* record = nullptr;
  outcome.status = object->QueryInterface(&kIID_IMoaMmXScript, &record);
  if (outcome.status != kHostOk) {
    object->Release();
    return outcome;
  }
  auto instance = std::make_unique<XtraInstance>(shared_from_this(), object,
                                                 static_cast<IMoaMmXScript*>(record));
  XtraCallResult created = instance->call(kNewSelector, arguments);
  store_.release(created.result);
  outcome.status = created.status;
  if (outcome.status == kHostOk) outcome.instance = std::move(instance);
  return outcome;
}

XtraLoader::XtraLoader(ValueStore& store) : store_(store) {
  store_.publishInterface(kIID_IMoaAppInfo, &appInfo_);
}

XtraLoader::~XtraLoader() {
  store_.withdrawInterface(kIID_IMoaAppInfo, &appInfo_);
}

std::string XtraLoader::xtrasFolderBesideExecutable() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::string(kXtrasFolderName);
  return (program.parent_path() / kXtrasFolderName).string();
}

std::vector<std::string> XtraLoader::loadBesideExecutable() {
  return loadFolder(xtrasFolderBesideExecutable());
}

std::vector<std::string> XtraLoader::loadFolder(const std::string& folder) {
  std::vector<std::string> problems;
  std::error_code error;
  std::vector<std::string> paths;
  for (std::filesystem::directory_iterator entries(folder, error), end; !error && entries != end;
       entries.increment(error)) {
    if (entries->path().extension() == kBundleExtension) paths.push_back(entries->path().string());
  }
  if (error) {
    problems.push_back("cannot read the Xtras folder " + folder + ": " + error.message());
    return problems;
  }
  std::sort(paths.begin(), paths.end());
  for (const std::string& path : paths) {
    if (std::optional<std::string> problem = loadBundle(path)) problems.push_back(*problem);
  }
  return problems;
}

std::optional<std::string> XtraLoader::loadBundle(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return "cannot load " + path + ": " + dlerror();
  XtraExportTable exports{};
  if (std::optional<std::string> missing = findExports(library, &exports)) {
    dlclose(library);
    return path + " is not an Xtra: it does not export " + *missing;
  }
  auto bundle = std::make_shared<XtraBundle>(path, library, exports, store_);
  exports.setFileRef(nextFileRef_++);

  XtraClassInfo* info = nullptr;
  if (HostStatus status = exports.getClassInfo(store_.allocator(), &info); status != kHostOk) {
    return path + ": DllGetClassInfo failed with status " + hexStatus(status);
  }
  for (const XtraClassInfo* record = info; !isNullId(record->classId); ++record) {
    bundle->classInfo_.push_back(*record);
  }
  store_.allocator()->FreeBlock(info);

  RegistryDictionary* xtraDict = registry_.newXtraDictionary();
  if (HostStatus status = registerBundle(*bundle, xtraDict); status != kHostOk) {
    return path + ": registration failed with status " + hexStatus(status);
  }
  std::optional<XtraClassForm> scripting = bundle->classForm(kIID_IMoaMmXScript);
  if (!scripting) return path + " has no scripting class";
  const RegistryDictionary* entry =
      registry_.entry(xtraDict, scripting->classId, kIID_IMoaMmXScript);
  const RegistryValue* table = entry == nullptr ? nullptr : entry->find(kMessageTableKey);
  std::optional<std::string> text = table == nullptr ? std::nullopt : table->text();
  if (!text) return path + " registered no message table";
  std::optional<MethodTable> methods = parseMethodTable(*text);
  if (!methods) return path + ": the message table does not begin with \"xtra <name>\"";
  if (find(methods->lingoName) != nullptr) {
    return path + ": an Xtra named " + methods->lingoName + " is already loaded";
  }
  bundle->methodTable_ = std::move(*methods);
  bundles_.push_back(std::move(bundle));
  return std::nullopt;
}

HostStatus XtraLoader::registerBundle(XtraBundle& bundle, RegistryDictionary* xtraDict) {
  const std::optional<XtraClassForm> form = bundle.classForm(kIID_IMoaRegister);
  if (!form) return kHostErrNoClass;
  HostStatus status = kHostOk;
  HostObject* object = HostObject::create(*form, store_.callback(), store_.allocator(), &status);
  void* record = nullptr;
  if (status == kHostOk) status = object->QueryInterface(&kIID_IMoaRegister, &record);
  if (status == kHostOk) {
    auto* registration = static_cast<IMoaRegister*>(record);
    status = registration->Register(&registry_, xtraDict);
    registration->Release();
  }
  object->Release();
  return status;
}

std::shared_ptr<XtraBundle> XtraLoader::find(std::string_view lingoName) const {
  for (const auto& bundle : bundles_) {
    if (equalsIgnoringCase(bundle->lingoName(), lingoName)) return bundle;
  }
  return nullptr;
}

bool XtraLoader::unload(std::string_view lingoName) {
  auto found = std::find_if(bundles_.begin(), bundles_.end(), [&](const auto& bundle) {
    return equalsIgnoringCase(bundle->lingoName(), lingoName);
  });
  if (found == bundles_.end() || !(*found)->canUnload()) return false;
  bundles_.erase(found);
  return true;
}

}  // namespace director
