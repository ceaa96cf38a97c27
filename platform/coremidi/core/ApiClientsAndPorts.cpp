// The client, port, connection and send functions of the C API.
#include "CallCounter.h"
#include "MidiServices.h"
#include "MidiSystem.h"
#include "Strings.h"

using coremidi::ApiFunction;
using coremidi::countCall;
using coremidi::MidiSystem;

extern "C" {

OSStatus MIDIClientCreate(CFStringRef name, MIDINotifyProc notifyProc, void* notifyRefCon,
                          MIDIClientRef* outClient) {
  countCall(ApiFunction::MIDIClientCreate);
  return MidiSystem::instance().createClient(coremidi::stringText(name), notifyProc, notifyRefCon,
                                             outClient);
}

OSStatus MIDIClientDispose(MIDIClientRef client) {
  countCall(ApiFunction::MIDIClientDispose);
  return MidiSystem::instance().disposeClient(client);
}

OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef name, MIDIReadProc readProc,
                             void* refCon, MIDIPortRef* outPort) {
  countCall(ApiFunction::MIDIInputPortCreate);
  return MidiSystem::instance().createInputPort(client, coremidi::stringText(name), readProc,
                                                refCon, outPort);
}

OSStatus MIDIOutputPortCreate(MIDIClientRef client, CFStringRef name, MIDIPortRef* outPort) {
  countCall(ApiFunction::MIDIOutputPortCreate);
  return MidiSystem::instance().createOutputPort(client, coremidi::stringText(name), outPort);
}

OSStatus MIDIPortDispose(MIDIPortRef port) {
  countCall(ApiFunction::MIDIPortDispose);
  return MidiSystem::instance().disposePort(port);
}

OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source, void* connRefCon) {
  countCall(ApiFunction::MIDIPortConnectSource);
  return MidiSystem::instance().connectSource(port, source, connRefCon);
}

OSStatus MIDIPortDisconnectSource(MIDIPortRef port, MIDIEndpointRef source) {
  countCall(ApiFunction::MIDIPortDisconnectSource);
  return MidiSystem::instance().disconnectSource(port, source);
}

OSStatus MIDISend(MIDIPortRef port, MIDIEndpointRef destination, const MIDIPacketList* packets) {
  countCall(ApiFunction::MIDISend);
  return MidiSystem::instance().send(port, destination, packets);
}

OSStatus MIDISendSysex(MIDISysexSendRequest* request) {
  countCall(ApiFunction::MIDISendSysex);
  return MidiSystem::instance().sendSysex(request);
}

}  // extern "C"
