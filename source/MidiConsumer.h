// What an input port hands received MIDI to. The port knows nothing else of its owner.
#pragma once

#include <cstdint>

// All calls arrive on the MIDI receive thread, one at a time and in arrival order, from the
// port's start until its stop returns. Implementations must not block, allocate or call the host.
class MidiConsumer {
 public:
  virtual ~MidiConsumer() = default;

  // One message of one to three bytes; data bytes the message lacks are 0.
  virtual void processShortMessage(double timeSeconds, std::uint8_t status, std::uint8_t data1,
                                   std::uint8_t data2) = 0;
  // A whole packet that begins with 0xF0. The bytes are valid only during the call.
  virtual void processSysexStart(double timeSeconds, const std::uint8_t* bytes,
                                 std::uint32_t length) = 0;
  // A whole packet that begins with a data byte. The bytes are valid only during the call.
  virtual void processSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) = 0;
};
