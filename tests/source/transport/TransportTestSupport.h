// Shared set-up of the transport tests: the process's one MIDI system back in its default setup,
// with the device directory made to notice it, and nothing left behind by the test.
#pragma once

#include <gtest/gtest.h>

#include "DeviceList.h"
#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"
#include "VirtualMidi.h"

class TransportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    midisystem::clearFailures();
    midisystem::limitSysexChunks(-1);
    replaceSetup(virtualmidi::defaultSetup());
  }

  // The directory rebuilds only after a notification, and only a live client receives one.
  static void replaceSetup(const virtualmidi::Setup& setup) {
    const MIDIClientRef client = fwAcquireMidiClient();
    ASSERT_NE(client, 0u);
    virtualmidi::replaceSetup(setup);
    midisystem::runRunLoop(0);
    fwReleaseMidiClient(client);
  }

  void TearDown() override {
    midisystem::clearFailures();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(midisystem::clientCount(), 0) << "a client reference was not given back";
  }

  // Removes a device while a client exists, as a user unplugging it would.
  static void unplug(const char* device = virtualmidi::kDefaultDeviceName) {
    const MIDIClientRef client = fwAcquireMidiClient();
    ASSERT_TRUE(virtualmidi::removeDevice(device));
    midisystem::runRunLoop(0);
    fwReleaseMidiClient(client);
  }

  static DeviceListEntry firstSource() {
    DeviceList list;
    fwGetMidiInputDevices(list);
    return list.size() > 0 ? list.at(0) : DeviceListEntry{};
  }

  static DeviceListEntry firstDestination() {
    DeviceList list;
    fwGetMidiOutputDevices(list);
    return list.size() > 0 ? list.at(0) : DeviceListEntry{};
  }
};
