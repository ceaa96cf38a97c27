#include "OSXMidiOut.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "CoreMidiApi.h"
#include "OSXMidiUtils.h"
#include "TonvikAssert.h"

namespace {

constexpr const char* kOutputPortName = "Fenwold Output";
constexpr double kNanosPerSecond = 1000000000.0;
constexpr double kSecondsPerMicrosecond = 0.000001;

}  // namespace

// Every operation runs on the host thread; only the sysex completion runs elsewhere, and it
// touches the caller's request, not this state.
class OSXMidiOut::State {
 public:
  State() { createOutputPort(); }
  ~State() {
    stop();
    disposeOutputPort();
  }

  void setDevice(const DeviceListEntry& device) {
    TONVIK_ASSERT(isActive_ == false);
    device_ = device;
  }

  bool createOutputPort();
  void disposeOutputPort();
  bool start();
  void stop();
  void sendBytes(double timeSeconds, std::uint8_t length, std::uint8_t b0, std::uint8_t b1,
                 std::uint8_t b2);
  bool sendSysexRequest(MIDISysexSendRequest* request);
  double scheduleInAdvanceSeconds();
  void setVerbose(bool verbose) { verbose_ = verbose; }
  bool isActive() const { return isActive_; }

 private:
  bool hasNoDevice() const { return device_.first.empty() && device_.second.empty(); }

  MIDIClientRef midiClient_ = 0;
  MIDIPortRef outputPort_ = 0;
  std::string portName_ = kOutputPortName;
  MIDIEndpointRef destinationEndpoint_ = 0;
  DeviceListEntry device_;
  bool isActive_ = false;
  bool sendEnabled_ = true;
  bool verbose_ = false;
};

bool OSXMidiOut::State::createOutputPort() {
  TONVIK_ASSERT(!outputPort_);
  return fwCreateMidiPort(portName_, nullptr, nullptr, verbose_, midiClient_, outputPort_);
}

void OSXMidiOut::State::disposeOutputPort() {
  fwDisposeMidiPort(verbose_, midiClient_, outputPort_);
}

bool OSXMidiOut::State::start() {
  if (outputPort_ == 0 && !createOutputPort()) return false;
  destinationEndpoint_ = fwFindMidiDestinationEndpoint(device_);
  if (destinationEndpoint_ == 0) {
    if (verbose_)
      std::fprintf(stderr, "WARN: [Start()] Selected endpoint was not found: %s\n",
                   device_.first.c_str());
    return false;
  }
  if (outputPort_ == 0) return false;
  if (hasNoDevice()) return false;
  isActive_ = true;
  sendEnabled_ = true;
  return true;
}

void OSXMidiOut::State::stop() {
  if (hasNoDevice()) return;
  if (isActive_ && outputPort_ != 0) isActive_ = false;
}

void OSXMidiOut::State::sendBytes(double timeSeconds, std::uint8_t length, std::uint8_t b0,
                                  std::uint8_t b1, std::uint8_t b2) {
  if (!isActive_ || !sendEnabled_) return;
  MIDIPacketList packetList{};
  packetList.numPackets = 1;
  MIDIPacket& packet = packetList.packet[0];
  packet.timeStamp =
      AudioConvertNanosToHostTime(static_cast<std::uint64_t>(timeSeconds * kNanosPerSecond));
  packet.length = length;
  packet.data[0] = b0;
  packet.data[1] = b1;
  packet.data[2] = b2;
  if (MIDISend(outputPort_, destinationEndpoint_, &packetList) != 0) sendEnabled_ = false;
}

bool OSXMidiOut::State::sendSysexRequest(MIDISysexSendRequest* request) {
  if (!isActive_ || !sendEnabled_) return false;
  request->destination = destinationEndpoint_;
  return MIDISendSysex(request) == 0;
}

double OSXMidiOut::State::scheduleInAdvanceSeconds() {
  TONVIK_ASSERT(isActive_);
  SInt32 microseconds = 0;
  const OSStatus status = MIDIObjectGetIntegerProperty(
      destinationEndpoint_, kMIDIPropertyAdvanceScheduleTimeMuSec, &microseconds);
  return status == 0 ? microseconds * kSecondsPerMicrosecond : 0.0;
}

OSXMidiOut::OSXMidiOut() : state_(new State) {}
OSXMidiOut::~OSXMidiOut() {
  delete state_;
}
void OSXMidiOut::setDevice(const DeviceListEntry& device) {
  state_->setDevice(device);
}
bool OSXMidiOut::start() {
  return state_->start();
}
void OSXMidiOut::stop() {
  state_->stop();
}
bool OSXMidiOut::createOutputPort() {
  return state_->createOutputPort();
}
void OSXMidiOut::disposeOutputPort() {
  state_->disposeOutputPort();
}
void OSXMidiOut::sendBytes(double timeSeconds, std::uint8_t length, std::uint8_t b0,
                           std::uint8_t b1, std::uint8_t b2) {
  state_->sendBytes(timeSeconds, length, b0, b1, b2);
}
bool OSXMidiOut::sendSysexRequest(MIDISysexSendRequest* request) {
  return state_->sendSysexRequest(request);
}
double OSXMidiOut::scheduleInAdvanceSeconds() {
  return state_->scheduleInAdvanceSeconds();
}
void OSXMidiOut::setVerbose(bool verbose) {
  state_->setVerbose(verbose);
}
bool OSXMidiOut::isActive() const {
  return state_->isActive();
}
