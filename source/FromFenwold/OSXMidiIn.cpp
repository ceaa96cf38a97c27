#include "OSXMidiIn.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>

#include "CoreMidiApi.h"
#include "MidiBytes.h"
#include "MidiConsumer.h"
#include "OSXMidiUtils.h"
#include "TimeSource.h"
#include "TonvikAssert.h"

namespace {

constexpr const char* kInputPortName = "Fenwold Input";

}  // namespace

class OSXMidiIn::State {
 public:
  State() { createInputPort(); }
  ~State() {
    if (isActive_) stop();
    disposeInputPort();
  }

  void setDevice(const DeviceListEntry& device) {
    TONVIK_ASSERT(isActive_ == false);
    device_ = device;
  }

  bool createInputPort();
  void disposeInputPort();
  bool start(MidiConsumer* consumer, TimeSource* timeSource);
  void stop();
  void setVerbose(bool verbose) { verbose_.store(verbose, std::memory_order_relaxed); }
  bool isActive() const { return isActive_; }

 private:
  static void MIDIReceiveFunc(const MIDIPacketList* packetList, void* readRefCon, void* connRefCon);
  static std::uint32_t shortMessageLength(const std::uint8_t* bytes, std::uint32_t remaining,
                                          bool verbose);
  void receive(const MIDIPacketList& packetList);
  void walkShortMessages(double timeSeconds, const std::uint8_t* bytes, std::uint32_t length,
                         MidiConsumer* consumer, bool verbose);

  MIDIClientRef midiClient_ = 0;
  MIDIPortRef inputPort_ = 0;
  std::string portName_ = kInputPortName;
  MIDIEndpointRef sourceEndpoint_ = 0;
  // Written on the host thread around connect and disconnect, read on the receive thread: the
  // release stores pair with the read procedure's acquire loads, so it sees complete objects.
  std::atomic<MidiConsumer*> consumer_{nullptr};
  std::atomic<TimeSource*> timeSource_{nullptr};
  DeviceListEntry device_;
  bool isActive_ = false;
  // Read by the read procedure; it only chooses whether diagnostics are written.
  std::atomic<bool> verbose_{false};
};

bool OSXMidiIn::State::createInputPort() {
  TONVIK_ASSERT(!inputPort_);
  return fwCreateMidiPort(portName_, &State::MIDIReceiveFunc, this,
                          verbose_.load(std::memory_order_relaxed), midiClient_, inputPort_);
}

void OSXMidiIn::State::disposeInputPort() {
  fwDisposeMidiPort(verbose_.load(std::memory_order_relaxed), midiClient_, inputPort_);
}

bool OSXMidiIn::State::start(MidiConsumer* consumer, TimeSource* timeSource) {
  const bool verbose = verbose_.load(std::memory_order_relaxed);
  if (inputPort_ == 0 && !createInputPort()) return false;
  sourceEndpoint_ = fwFindMidiSourceEndpoint(device_);
  if (sourceEndpoint_ == 0) {
    if (verbose)
      std::fprintf(stderr, "WARN: [Start()] Selected endpoint was not found: %s\n",
                   device_.first.c_str());
    return false;
  }
  if (inputPort_ == 0 || consumer == nullptr || timeSource == nullptr) return false;
  consumer_.store(consumer, std::memory_order_release);
  timeSource_.store(timeSource, std::memory_order_release);
  const OSStatus status = MIDIPortConnectSource(inputPort_, sourceEndpoint_, this);
  if (status != 0) {
    if (verbose)
      std::fprintf(stderr, "ERROR: [Start()] MIDIPortConnectSource returned %i.\n",
                   static_cast<int>(status));
    return false;
  }
  isActive_ = true;
  return true;
}

void OSXMidiIn::State::stop() {
  if (isActive_) {
    TONVIK_ASSERT(inputPort_ && sourceEndpoint_);
    // The disconnect returns only once no read procedure of this connection is running, so
    // clearing the pointers afterwards cannot pull them from under a delivery.
    MIDIPortDisconnectSource(inputPort_, sourceEndpoint_);
    isActive_ = false;
    consumer_.store(nullptr, std::memory_order_release);
    timeSource_.store(nullptr, std::memory_order_release);
    return;
  }
  if (verbose_.load(std::memory_order_relaxed)) {
    std::fprintf(stderr, "WARN: [Stop()] Called when AD: %s S: %i RP: %x REp: %x\n",
                 device_.first.c_str(), isActive_ ? 1 : 0, static_cast<unsigned>(inputPort_),
                 static_cast<unsigned>(sourceEndpoint_));
  }
}

void OSXMidiIn::State::MIDIReceiveFunc(const MIDIPacketList* packetList, void* readRefCon,
                                       void* /*connRefCon*/) {
  if (packetList == nullptr) return;
  static_cast<State*>(readRefCon)->receive(*packetList);
}

void OSXMidiIn::State::receive(const MIDIPacketList& packetList) {
  const double timeSeconds = timeSource_.load(std::memory_order_acquire)->currentTimeSeconds();
  MidiConsumer* consumer = consumer_.load(std::memory_order_acquire);
  const bool verbose = verbose_.load(std::memory_order_relaxed);
  if (verbose) std::fprintf(stderr, "num packets: %d\n", static_cast<int>(packetList.numPackets));

  const MIDIPacket* packet = &packetList.packet[0];
  for (std::uint32_t i = 0; i < packetList.numPackets; ++i, packet = MIDIPacketNext(packet)) {
    // CoreMIDI never delivers an empty packet; one that arrives anyway has no first byte to read.
    if (packet->length == 0) continue;
    const std::uint8_t first = packet->data[0];
    if (first == midi::kSysexStart) {
      consumer->processSysexStart(timeSeconds, packet->data, packet->length);
    } else if (midi::isDataByte(first)) {
      consumer->processSysexContinuation(packet->data, packet->length);
    } else {
      walkShortMessages(timeSeconds, packet->data, packet->length, consumer, verbose);
    }
  }
}

void OSXMidiIn::State::walkShortMessages(double timeSeconds, const std::uint8_t* bytes,
                                         std::uint32_t length, MidiConsumer* consumer,
                                         bool verbose) {
  std::uint32_t remaining = length;
  while (true) {
    const std::uint32_t n = shortMessageLength(bytes, remaining, verbose);
    if (n == 0) return;
    if (n <= midi::kLongestShortMessage) {
      consumer->processShortMessage(timeSeconds, bytes[0], n >= 2 ? bytes[1] : 0,
                                    n == 3 ? bytes[2] : 0);
    } else if (verbose) {
      std::fprintf(stderr,
                   "INFO: [MIDIReceiveFunc()] Ignoring MIDI message over 3 characters long. "
                   "message length: %d.\n",
                   static_cast<int>(n));
    }
    remaining -= n;
    bytes += n;
  }
}

// A message runs from its status byte up to the next status byte or the end of the packet; its
// length is not taken from the status, so running status is never expanded.
std::uint32_t OSXMidiIn::State::shortMessageLength(const std::uint8_t* bytes,
                                                   std::uint32_t remaining, bool verbose) {
  if (remaining == 0 || midi::isDataByte(bytes[0])) return 0;
  if (verbose) std::fprintf(stderr, "length: %d\n", static_cast<int>(remaining));
  std::uint32_t n = 1;
  while (n < remaining && midi::isDataByte(bytes[n])) ++n;
  return n;
}

OSXMidiIn::OSXMidiIn() : state_(new State) {}
OSXMidiIn::~OSXMidiIn() {
  delete state_;
}
void OSXMidiIn::setDevice(const DeviceListEntry& device) {
  state_->setDevice(device);
}
bool OSXMidiIn::start(MidiConsumer* consumer, TimeSource* timeSource) {
  return state_->start(consumer, timeSource);
}
void OSXMidiIn::stop() {
  state_->stop();
}
bool OSXMidiIn::createInputPort() {
  return state_->createInputPort();
}
void OSXMidiIn::disposeInputPort() {
  state_->disposeInputPort();
}
void OSXMidiIn::setVerbose(bool verbose) {
  state_->setVerbose(verbose);
}
bool OSXMidiIn::isActive() const {
  return state_->isActive();
}
