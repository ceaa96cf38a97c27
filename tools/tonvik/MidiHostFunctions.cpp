#include "MidiHostFunctions.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "MidiSystemControl.h"
#include "ScriptError.h"
#include "VirtualMidi.h"

namespace tonvik {

namespace {

constexpr int kMaxByte = 255;

void expectArgs(const char* function, const std::vector<Value>& args, std::size_t count) {
  if (args.size() != count) {
    throw ScriptError(std::string(function) + " expects " + std::to_string(count) +
                      (count == 1 ? " argument" : " arguments"));
  }
}

std::string stringArg(const char* function, const Value& value) {
  if (value.kind() != ValueKind::String) {
    throw ScriptError(std::string(function) + " expects a name (a string)");
  }
  return value.asString();
}

// The name of a destination that exists; a script error otherwise.
std::string destinationArg(const char* function, const Value& value) {
  std::string name = stringArg(function, value);
  if (virtualmidi::findDestination(name) == 0) {
    throw ScriptError("no MIDI destination named \"" + name + "\"");
  }
  return name;
}

std::int32_t integerArg(const char* function, const Value& value) {
  if (value.kind() != ValueKind::Integer) {
    throw ScriptError(std::string(function) + " expects an integer");
  }
  return value.asInteger();
}

// A property of a description list, or VOID when it is absent.
Value property(const Value& list, const char* key) {
  if (list.kind() != ValueKind::PropList) return Value();
  Property* found = list.asPropList().find(Value::symbol(key));
  return found ? found->value : Value();
}

const std::vector<Value>& listProperty(const char* what, const Value& list, const char* key) {
  static const std::vector<Value> kNone;
  const Value items = property(list, key);
  if (items.isVoid()) return kNone;
  if (items.kind() != ValueKind::List) {
    throw ScriptError(std::string(what) + ": #" + key + " must be a list");
  }
  return items.asList().items;
}

virtualmidi::Name nameOf(const char* what, const Value& value) {
  if (value.isVoid()) return std::nullopt;
  if (value.kind() != ValueKind::String) {
    throw ScriptError(std::string(what) + ": a name must be a string or VOID");
  }
  return value.asString();
}

std::vector<virtualmidi::EndpointSpec> endpoints(const char* what, const Value& list,
                                                 const char* key) {
  std::vector<virtualmidi::EndpointSpec> result;
  for (const Value& name : listProperty(what, list, key)) result.push_back({nameOf(what, name)});
  return result;
}

bool flag(const Value& list, const char* key) {
  const Value v = property(list, key);
  return v.kind() == ValueKind::Integer && v.asInteger() != 0;
}

virtualmidi::DeviceSpec deviceSpec(const char* what, const Value& device) {
  if (device.kind() != ValueKind::PropList) {
    throw ScriptError(std::string(what) +
                      ": a device is a property list [#name: .., #entities: ..]");
  }
  virtualmidi::DeviceSpec spec;
  spec.name = nameOf(what, property(device, "name"));
  spec.listed = !flag(device, "hidden");
  for (const Value& entity : listProperty(what, device, "entities")) {
    if (entity.kind() != ValueKind::PropList) {
      throw ScriptError(std::string(what) + ": an entity is a property list");
    }
    virtualmidi::EntitySpec entitySpec;
    entitySpec.name = nameOf(what, property(entity, "name"));
    entitySpec.sources = endpoints(what, entity, "sources");
    entitySpec.destinations = endpoints(what, entity, "destinations");
    entitySpec.loopback = flag(entity, "loopback");
    spec.entities.push_back(std::move(entitySpec));
  }
  return spec;
}

std::vector<virtualmidi::Packet> packetsArg(const char* what, const Value& packets) {
  if (packets.kind() != ValueKind::List) {
    throw ScriptError(std::string(what) + " expects a list of packets, each a list of bytes");
  }
  std::vector<virtualmidi::Packet> result;
  for (const Value& packet : packets.asList().items) {
    if (packet.kind() != ValueKind::List) {
      throw ScriptError(std::string(what) + ": each packet is a list of bytes");
    }
    virtualmidi::Packet bytes;
    for (const Value& byte : packet.asList().items) {
      if (byte.kind() != ValueKind::Integer || byte.asInteger() < 0 ||
          byte.asInteger() > kMaxByte) {
        throw ScriptError(std::string(what) + ": a byte is an integer from 0 to 255");
      }
      bytes.push_back(static_cast<Byte>(byte.asInteger()));
    }
    result.push_back(std::move(bytes));
  }
  return result;
}

// Wraps a function that needs the virtual MIDI system, so that it fails clearly under JACK.
HostFunction virtualOnly(const char* name, MidiSystem midi, HostFunction function) {
  if (midi == MidiSystem::Virtual) return function;
  return [name](const std::vector<Value>&) -> Value {
    throw ScriptError(std::string(name) + " needs the virtual MIDI system (--midi virtual)");
  };
}

}  // namespace

void registerMidiHostFunctions(Interpreter& interpreter, std::shared_ptr<HostState> host,
                               MidiSystem midi) {
  auto add = [&](const char* name, HostFunction function) {
    interpreter.registerHostFunction(name, virtualOnly(name, midi, std::move(function)));
  };

  add("virtualMidiSetup", [](const std::vector<Value>& args) {
    constexpr const char* kWhat = "virtualMidiSetup";
    expectArgs(kWhat, args, 1);
    if (args[0].kind() != ValueKind::PropList) {
      throw ScriptError(
          "virtualMidiSetup expects [#devices: [..], #sources: [..], "
          "#destinations: [..]]");
    }
    virtualmidi::Setup setup;
    for (const Value& device : listProperty(kWhat, args[0], "devices")) {
      setup.devices.push_back(deviceSpec(kWhat, device));
    }
    setup.unattachedSources = endpoints(kWhat, args[0], "sources");
    setup.unattachedDestinations = endpoints(kWhat, args[0], "destinations");
    virtualmidi::replaceSetup(setup);
    return Value();
  });
  add("virtualMidiAddDevice", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiAddDevice", args, 1);
    virtualmidi::addDevice(deviceSpec("virtualMidiAddDevice", args[0]));
    return Value();
  });
  add("virtualMidiRemoveDevice", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiRemoveDevice", args, 1);
    const std::string name = stringArg("virtualMidiRemoveDevice", args[0]);
    if (!virtualmidi::removeDevice(name))
      throw ScriptError("no MIDI device named \"" + name + "\"");
    return Value();
  });
  add("virtualMidiRenameDevice", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiRenameDevice", args, 2);
    const std::string name = stringArg("virtualMidiRenameDevice", args[0]);
    if (!virtualmidi::renameDevice(name, nameOf("virtualMidiRenameDevice", args[1]))) {
      throw ScriptError("no MIDI device named \"" + name + "\"");
    }
    return Value();
  });
  add("virtualMidiSend", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiSend", args, 2);
    const std::string name = stringArg("virtualMidiSend", args[0]);
    const auto packets = packetsArg("virtualMidiSend", args[1]);
    if (virtualmidi::findSource(name) == 0)
      throw ScriptError("no MIDI source named \"" + name + "\"");
    if (!virtualmidi::injectByName(name, packets)) {
      throw ScriptError("virtualMidiSend: a packet is longer than 65535 bytes");
    }
    return Value();
  });
  add("virtualMidiReceived", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiReceived", args, 1);
    const std::string name = destinationArg("virtualMidiReceived", args[0]);
    Value packets = Value::newList();
    for (const auto& captured : virtualmidi::takeCapturedByName(name)) {
      Value bytes = Value::newList();
      for (Byte b : captured.bytes) bytes.asList().items.push_back(Value::integer(b));
      packets.asList().items.push_back(bytes);
    }
    return packets;
  });
  add("virtualMidiDropped", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiDropped", args, 1);
    const std::string name = destinationArg("virtualMidiDropped", args[0]);
    const std::uint64_t dropped = virtualmidi::takeDroppedCountByName(name);
    return Value::integer(static_cast<std::int32_t>(
        std::min<std::uint64_t>(dropped, std::numeric_limits<std::int32_t>::max())));
  });
  add("virtualMidiFail", [](const std::vector<Value>& args) {
    expectArgs("virtualMidiFail", args, 2);
    midisystem::Failure failure;
    if (args[0].kind() != ValueKind::Symbol ||
        !midisystem::failureFromName(args[0].asSymbol().name(), failure)) {
      throw ScriptError(
          "virtualMidiFail: the kind is one of #clientCreate, #inputPortCreate, "
          "#outputPortCreate, #connectSource, #send, #sendSysex, #sysexComplete");
    }
    midisystem::failNext(failure, integerArg("virtualMidiFail", args[1]));
    return Value();
  });

  // These two concern the host, not the MIDI system, so they work under JACK too.
  interpreter.registerHostFunction("hostFailAllocations", [host](const std::vector<Value>& args) {
    expectArgs("hostFailAllocations", args, 1);
    host->store.failAllocations(integerArg("hostFailAllocations", args[0]));
    return Value();
  });
  interpreter.registerHostFunction("hostLiveValues", [host](const std::vector<Value>& args) {
    expectArgs("hostLiveValues", args, 0);
    return Value::integer(static_cast<std::int32_t>(host->store.liveValues()));
  });
}

}  // namespace tonvik
