// Set-up of the tests that drive a real instance through the virtual MIDI system: the process's
// one MIDI system back in its default setup (device "Virtual Bus" with one loopback entity), and
// proof that a test left no client reference, Lingo value or host block behind.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "LingoValues.h"
#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"
#include "ValueStore.h"
#include "VirtualMidi.h"

class InstanceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    midisystem::clearFailures();
    // The directory rebuilds only after a notification, and only a live client receives one.
    const MIDIClientRef client = fwAcquireMidiClient();
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    midisystem::runRunLoop(0);
    fwReleaseMidiClient(client);
    instance = makeInstance();
    symbolValues_ = store.liveValues();
  }
  void TearDown() override {
    values.releaseAll();
    instance.reset();
    EXPECT_EQ(store.liveValues(), 0u);
    EXPECT_EQ(store.liveBlocks(), 0u);
    midisystem::clearFailures();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(midisystem::clientCount(), 0) << "a client reference was not given back";
  }
  static bool inject(const std::vector<virtualmidi::Packet>& packets) {
    return virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, packets);
  }

  std::unique_ptr<MacOsxTonvik> makeInstance() {
    return std::make_unique<MacOsxTonvik>(store.valueInterface(), store.listInterface(),
                                          store.allocator());
  }
  // Every call must leave exactly the values the instance holds itself: its symbols.
  void expectNoValueLeft() const { EXPECT_EQ(store.liveValues(), symbolValues_); }

  void openLoopback(std::int32_t queueSize = 0) {
    ASSERT_EQ(instance->Init(), 0);
    ASSERT_EQ(instance->OpenInput(0, queueSize), 0);
    ASSERT_EQ(instance->OpenOutput(0), 0);
  }

  director::ValueStore store;
  LingoValues values{store};
  std::unique_ptr<MacOsxTonvik> instance;

 private:
  std::size_t symbolValues_ = 0;
};
