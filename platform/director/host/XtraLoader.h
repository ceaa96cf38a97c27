// Loading Xtra bundles the way Director does: from an `Xtras` folder beside the program, by
// their six exports; registering each, reading its message table, and making its scripting
// objects and calls. Everything here runs on the host thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "HostAppInfo.h"
#include "HostObject.h"
#include "MethodTable.h"
#include "MoaScripting.h"
#include "Registry.h"
#include "ValueStore.h"

namespace director {

struct XtraCallResult {
  bool methodFound = false;
  HostStatus status = kHostOk;
  // The caller's, to release; VOID when the method set no result.
  LingoValue result;
};

class XtraBundle;

// One scripting object of an Xtra, alive from `new` until this is destroyed.
class XtraInstance {
 public:
  XtraInstance(std::shared_ptr<XtraBundle> bundle, HostObject* object, IMoaMmXScript* script);
  ~XtraInstance();
  XtraInstance(const XtraInstance&) = delete;
  XtraInstance& operator=(const XtraInstance&) = delete;

  // Arguments are the caller's and stay so; declared arguments not given are passed as VOID.
  XtraCallResult call(std::string_view method, const std::vector<LingoValue>& arguments = {});
  XtraCallResult call(std::int32_t selector, const std::vector<LingoValue>& arguments = {});

  const XtraBundle& bundle() const { return *bundle_; }

 private:
  std::shared_ptr<XtraBundle> bundle_;
  HostObject* object_;
  IMoaMmXScript* script_;
};

struct XtraExportTable {
  PpcSetFileRefFunction setFileRef;
  DllGetClassObjectFunction getClassObject;
  DllCanUnloadNowFunction canUnloadNow;
  DllGetClassFormFunction getClassForm;
  DllGetInterfaceFunction getInterface;
  DllGetClassInfoFunction getClassInfo;
};

struct NewInstanceResult {
  HostStatus status = kHostOk;
  std::unique_ptr<XtraInstance> instance;  // null unless status is 0
};

// One loaded bundle. The library stays mapped while any instance of it lives, and afterwards
// unless the bundle refuses to be unloaded.
class XtraBundle : public std::enable_shared_from_this<XtraBundle> {
 public:
  XtraBundle(std::string path, void* library, const XtraExportTable& exports, ValueStore& store);
  ~XtraBundle();
  XtraBundle(const XtraBundle&) = delete;
  XtraBundle& operator=(const XtraBundle&) = delete;

  const std::string& path() const { return path_; }
  const std::string& lingoName() const { return methodTable_.lingoName; }
  const std::vector<MethodDeclaration>& methods() const { return methodTable_.methods; }
  // Lingo names compare without regard to case.
  std::optional<std::int32_t> methodNumber(std::string_view name) const;
  const std::vector<XtraClassInfo>& classInfo() const { return classInfo_; }
  const XtraExportTable& exports() const { return exports_; }
  bool canUnload() const { return exports_.canUnloadNow() == kHostOk; }

  // `new`: creates the scripting object, obtains its scripting interface and calls method 0.
  NewInstanceResult newInstance(const std::vector<LingoValue>& arguments = {});

 private:
  friend class XtraLoader;

  std::optional<XtraClassForm> classForm(const HostInterfaceId& interfaceId) const;

  std::string path_;
  void* library_;
  XtraExportTable exports_;
  ValueStore& store_;
  std::vector<XtraClassInfo> classInfo_;
  MethodTable methodTable_;
};

class XtraLoader {
 public:
  // The store supplies the callback and allocator of every object and must outlive the loader
  // and every bundle and instance it hands out.
  explicit XtraLoader(ValueStore& store);
  ~XtraLoader();
  XtraLoader(const XtraLoader&) = delete;
  XtraLoader& operator=(const XtraLoader&) = delete;

  // Loads every *.xtra file in the folder, in name order; answers one line per bundle that
  // could not be loaded (and one when the folder cannot be read).
  std::vector<std::string> loadFolder(const std::string& folder);
  // The `Xtras` folder beside the running program.
  std::vector<std::string> loadBesideExecutable();
  static std::string xtrasFolderBesideExecutable();
  // Loads one bundle file; answers why it failed, or nothing.
  std::optional<std::string> loadBundle(const std::string& path);

  std::shared_ptr<XtraBundle> find(std::string_view lingoName) const;
  const std::vector<std::shared_ptr<XtraBundle>>& bundles() const { return bundles_; }
  // Drops the bundle when it allows unloading; false (and nothing changes) otherwise.
  bool unload(std::string_view lingoName);

  HostAppInfo& appInfo() { return appInfo_; }
  RegistryCache& registry() { return registry_; }

 private:
  HostStatus registerBundle(XtraBundle& bundle, RegistryDictionary* xtraDict);

  ValueStore& store_;
  HostAppInfo appInfo_;
  RegistryCache registry_;
  std::vector<std::shared_ptr<XtraBundle>> bundles_;
  std::uint32_t nextFileRef_ = 1;
};

}  // namespace director
