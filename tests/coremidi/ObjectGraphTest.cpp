#include <gtest/gtest.h>

#include <string>

#include "MidiServices.h"
#include "VirtualMidi.h"

namespace {

using virtualmidi::DeviceSpec;
using virtualmidi::EndpointSpec;
using virtualmidi::EntitySpec;

// Reads a name back in UTF-8; "<none>" when the object has none.
std::string nameOf(MIDIObjectRef object) {
  CFStringRef name = nullptr;
  if (MIDIObjectGetStringProperty(object, kMIDIPropertyName, &name) != noErr) return "<none>";
  char buffer[256];
  CFStringGetCString(name, buffer, sizeof buffer, kCFStringEncodingUTF8);
  CFRelease(name);
  return buffer;
}

class ObjectGraphTest : public ::testing::Test {
 protected:
  void TearDown() override { virtualmidi::replaceSetup(virtualmidi::defaultSetup()); }
};

TEST_F(ObjectGraphTest, EnumerationFollowsTheSetupAndTheGlobalOrder) {
  virtualmidi::Setup setup;
  setup.devices.push_back(DeviceSpec{"Hub",
                                     {EntitySpec{"Port 1", {{"In 1"}}, {{"Out 1"}}},
                                      EntitySpec{std::nullopt, {{"In 2"}, {"In 3"}}, {}}}});
  setup.devices.push_back(DeviceSpec{"Hidden", {EntitySpec{"Inner", {{"Secret"}}, {}}}, false});
  setup.unattachedSources.push_back(EndpointSpec{"Virtual Synth"});
  setup.unattachedDestinations.push_back(EndpointSpec{std::nullopt, 2500});
  virtualmidi::replaceSetup(setup);

  ASSERT_EQ(MIDIGetNumberOfDevices(), 1u);  // the hidden device is not listed
  const MIDIDeviceRef hub = MIDIGetDevice(0);
  EXPECT_EQ(MIDIGetDevice(1), 0u);
  ASSERT_EQ(MIDIDeviceGetNumberOfEntities(hub), 2u);
  const MIDIEntityRef second = MIDIDeviceGetEntity(hub, 1);
  EXPECT_EQ(nameOf(second), "<none>");
  EXPECT_EQ(MIDIEntityGetNumberOfSources(second), 2u);
  EXPECT_EQ(MIDIEntityGetNumberOfDestinations(second), 0u);

  ASSERT_EQ(MIDIGetNumberOfSources(), 5u);
  const char* sourceNames[] = {"In 1", "In 2", "In 3", "Secret", "Virtual Synth"};
  for (ItemCount i = 0; i < 5; ++i) EXPECT_EQ(nameOf(MIDIGetSource(i)), sourceNames[i]);
  EXPECT_EQ(MIDIGetSource(5), 0u);

  // The hidden device's endpoint still leads to its device.
  MIDIEntityRef entity = 0;
  MIDIDeviceRef device = 0;
  ASSERT_EQ(MIDIEndpointGetEntity(MIDIGetSource(3), &entity), noErr);
  ASSERT_EQ(MIDIEntityGetDevice(entity, &device), noErr);
  EXPECT_EQ(nameOf(device), "Hidden");

  // Unattached endpoints have no entity.
  EXPECT_EQ(MIDIEndpointGetEntity(MIDIGetSource(4), &entity), noErr);
  EXPECT_EQ(entity, 0u);
  ASSERT_EQ(MIDIGetNumberOfDestinations(), 2u);
  SInt32 advance = 0;
  EXPECT_EQ(MIDIObjectGetIntegerProperty(MIDIGetDestination(1),
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

}  // namespace
