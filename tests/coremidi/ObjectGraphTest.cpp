#include <gtest/gtest.h>

#include <string>

#include "MidiServices.h"
#include "VirtualMidi.h"

namespace {

using virtualmidi::DeviceSpec;
using virtualmidi::EndpointSpec;

class ObjectGraphTest : public ::testing::Test {
 protected:
  void TearDown() override { virtualmidi::replaceSetup(virtualmidi::defaultSetup()); }
};

// Enumeration in the setup's order, hidden devices and unattached endpoints are what the
// endpoint directory's naming table and xtra_devices.ls list through the Xtra.
TEST_F(ObjectGraphTest, AnEndpointCarriesItsAdvanceScheduleTime) {
  virtualmidi::Setup setup;
  setup.unattachedDestinations.push_back(EndpointSpec{std::nullopt, 2500});
  virtualmidi::replaceSetup(setup);
  SInt32 advance = 0;
  EXPECT_EQ(MIDIObjectGetIntegerProperty(MIDIGetDestination(0),
                                         kMIDIPropertyAdvanceScheduleTimeMuSec, &advance),
            noErr);
  EXPECT_EQ(advance, 2500);
}

TEST_F(ObjectGraphTest, GoneReferencesAreNeverReusedAndBadArgumentsGiveStatuses) {
  const MIDIDeviceRef first = virtualmidi::addDevice(DeviceSpec{"Temp", {}});
  ASSERT_TRUE(virtualmidi::removeDevice(first));
  EXPECT_FALSE(virtualmidi::removeDevice(first));
  EXPECT_NE(virtualmidi::addDevice(DeviceSpec{"Temp", {}}), first);
  CFStringRef name = nullptr;
  EXPECT_EQ(MIDIObjectGetStringProperty(first, kMIDIPropertyName, &name), kMIDIObjectNotFound);
  EXPECT_EQ(name, nullptr);
  MIDIDeviceRef device = 1;
  EXPECT_EQ(MIDIEntityGetDevice(0, &device), kMIDIObjectNotFound);
  EXPECT_EQ(device, 0u);
  EXPECT_EQ(MIDIEntityGetDevice(0, nullptr), paramErr);
  EXPECT_EQ(MIDIDeviceGetNumberOfEntities(MIDIGetSource(0)), 0u);
  SInt32 value = 0;
  EXPECT_EQ(MIDIObjectGetIntegerProperty(MIDIGetDevice(0), kMIDIPropertyName, &value),
            kMIDIUnknownProperty);
}

// The names a program gives reach other programs through the backend (JACK shows them); the
// system keeps them as it keeps a device's.
TEST_F(ObjectGraphTest, ClientsAndPortsKeepTheNamesTheyAreMadeWith) {
  const auto nameOf = [](MIDIObjectRef object) {
    CFStringRef name = nullptr;
    if (MIDIObjectGetStringProperty(object, kMIDIPropertyName, &name) != noErr)
      return std::string("?");
    char text[64] = {};
    CFStringGetCString(name, text, sizeof text, kCFStringEncodingASCII);
    CFRelease(name);
    return std::string(text);
  };
  CFStringRef clientName = CFStringCreateWithCString(nullptr, "Sequencer", kCFStringEncodingASCII);
  CFStringRef portName = CFStringCreateWithCString(nullptr, "Out A", kCFStringEncodingASCII);
  MIDIClientRef client = 0;
  MIDIPortRef port = 0;
  MIDIPortRef nameless = 0;
  ASSERT_EQ(MIDIClientCreate(clientName, nullptr, nullptr, &client), noErr);
  ASSERT_EQ(MIDIOutputPortCreate(client, portName, &port), noErr);
  ASSERT_EQ(MIDIOutputPortCreate(client, nullptr, &nameless), noErr);
  CFRelease(clientName);
  CFRelease(portName);
  EXPECT_EQ(nameOf(client), "Sequencer");
  EXPECT_EQ(nameOf(port), "Out A");
  EXPECT_EQ(nameOf(nameless), "");
  ASSERT_EQ(MIDIClientDispose(client), noErr);
  EXPECT_EQ(nameOf(port), "?");
}

}  // namespace
