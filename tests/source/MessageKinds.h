// Every kind of short message once: how a script sends it (its type, then its values by
// position), its bytes on the wire (channel kinds on channel 1), the group the filters know it
// by, and what receiving those bytes yields, up to the timestamp. The conversion and filter
// tests read the same table.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct MessageKind {
  const char* type;
  std::vector<std::int32_t> values;
  std::uint8_t status, data1, data2;
  std::int32_t length;
  const char* group;  // voice or mode for channel kinds, common or realTime for system ones
  const char* received;
  // False where receiving loses what sending needs: the channel of a channel-mode message, the
  // note-on of a note-on with velocity 0.
  bool resendable = true;

  bool channelKind() const { return status < 0xF0; }
  // The kind the filters judge it as: its received type.
  std::string kind() const {
    const std::string text = received;
    const auto begin = text.find('#', 2) + 1;
    return text.substr(begin, text.find(',', begin) - begin);
  }
};

inline const std::vector<MessageKind>& messageKinds() {
  // One kind a line reads best as a table.
  // clang-format off
  static const std::vector<MessageKind> kinds = {
    {"noteOn", {1, 60, 100}, 0x90, 60, 100, 3, "voice",
     "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100"},
    {"noteOn", {1, 61, 0}, 0x90, 61, 0, 3, "voice",
     "[#type: #noteOff, #channel: 1, #number: 61, #velocity: 0", false},
    {"noteOff", {1, 0, 127}, 0x80, 0, 127, 3, "voice",
     "[#type: #noteOff, #channel: 1, #number: 0, #velocity: 127"},
    {"polyKeyPressure", {1, 1, 2}, 0xA0, 1, 2, 3, "voice",
     "[#type: #polyKeyPressure, #channel: 1, #number: 1, #pressure: 2"},
    {"controlChange", {1, 121, 99}, 0xB0, 121, 99, 3, "voice",
     "[#type: #controlChange, #channel: 1, #number: 121, #value: 99"},
    {"programChange", {1, 127}, 0xC0, 127, 0, 2, "voice",
     "[#type: #programChange, #channel: 1, #number: 127"},
    {"channelPressure", {1, 64}, 0xD0, 64, 0, 2, "voice",
     "[#type: #channelPressure, #channel: 1, #number: 64"},
    {"pitchBend", {1, 0}, 0xE0, 0, 0x40, 3, "voice", "[#type: #pitchBend, #channel: 1, #amount: 0"},
    {"pitchBend", {1, 8191}, 0xE0, 0x7F, 0x7F, 3, "voice",
     "[#type: #pitchBend, #channel: 1, #amount: 8191"},
    {"pitchBend", {1, -8192}, 0xE0, 0, 0, 3, "voice",
     "[#type: #pitchBend, #channel: 1, #amount: -8192"},
    {"localControlOff", {1}, 0xB0, 122, 0, 3, "mode", "[#type: #localControlOff", false},
    {"localControlOn", {1}, 0xB0, 122, 127, 3, "mode", "[#type: #localControlOn", false},
    {"allNotesOff", {1}, 0xB0, 123, 0, 3, "mode", "[#type: #allNotesOff", false},
    {"omniModeOff", {1}, 0xB0, 124, 0, 3, "mode", "[#type: #omniModeOff", false},
    {"omniModeOn", {1}, 0xB0, 125, 0, 3, "mode", "[#type: #omniModeOn", false},
    {"monoModeOn", {1, 4}, 0xB0, 126, 4, 3, "mode", "[#type: #monoModeOn, #numChannels: 4", false},
    {"polyModeOn", {1}, 0xB0, 127, 0, 3, "mode", "[#type: #polyModeOn", false},
    {"mtcQuarterFrame", {3, 5}, 0xF1, 0x35, 0, 2, "common",
     "[#type: #mtcQuarterFrame, #subFrame: 3, #data: 5"},
    {"songPositionPointer", {272}, 0xF2, 0x10, 0x02, 3, "common",
     "[#type: #songPositionPointer, #position: 272"},
    {"songSelect", {5}, 0xF3, 5, 0, 2, "common", "[#type: #songSelect, #number: 5"},
    {"tuneRequest", {}, 0xF6, 0, 0, 1, "common", "[#type: #tuneRequest"},
    {"clock", {}, 0xF8, 0, 0, 1, "realTime", "[#type: #clock"},
    {"start", {}, 0xFA, 0, 0, 1, "realTime", "[#type: #start"},
    {"continue", {}, 0xFB, 0, 0, 1, "realTime", "[#type: #continue"},
    {"stop", {}, 0xFC, 0, 0, 1, "realTime", "[#type: #stop"},
    {"activeSensing", {}, 0xFE, 0, 0, 1, "realTime", "[#type: #activeSensing"},
    {"systemReset", {}, 0xFF, 0, 0, 1, "realTime", "[#type: #systemReset"},
  };
  // clang-format on
  return kinds;
}
