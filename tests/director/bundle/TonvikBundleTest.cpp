// The product bundle as the message window sees it: found beside the program, loaded with
// dlopen, registered, and driven by method name over the virtual MIDI system. The Lingo scripts
// drive the same bundle end to end; these are the answers a script cannot see.
#include <gtest/gtest.h>

#include "BundleRig.h"
#include "MidiSystemControl.h"

namespace director {
namespace {

TEST(TonvikBundle, IsFoundBesideTheProgramWithItsEighteenMethods) {
  ValueStore store;
  XtraLoader beside(store);
  for (const std::string& problem : beside.loadBesideExecutable()) ADD_FAILURE() << problem;
  std::shared_ptr<XtraBundle> found = beside.find("Tonvik");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->methods().size(), 18u);
  EXPECT_EQ(found->methodNumber("new"), 0);
  EXPECT_EQ(found->methodNumber("openinput"), 5);
  EXPECT_EQ(found->methodNumber("SendMessage"), 17);
}

TEST(TonvikBundle, DestructionWithPortsOpenLeavesNothingAndAllowsUnloading) {
  {
    BundleRig rig(TONVIK_XTRA_PATH);
    ASSERT_TRUE(rig.loaded());
    ASSERT_EQ(rig.create(), "0");
    const std::size_t symbolValues = rig.store.liveValues();
    EXPECT_EQ(rig.call("Init"), "[#code: 0, #text: \"No error\"]");
    EXPECT_EQ(rig.call("OpenInput", std::vector<std::int32_t>{1, 100}),
              "[#code: 0, #text: \"No error\"]");
    EXPECT_EQ(rig.call("OpenOutput", std::vector<std::int32_t>{1}),
              "[#code: 0, #text: \"No error\"]");
    EXPECT_EQ(rig.store.liveValues(), symbolValues);
    rig.instance.reset();
    EXPECT_EQ(rig.store.liveValues(), 0u);
    EXPECT_EQ(rig.store.liveBlocks(), 0u);
    EXPECT_EQ(rig.store.interfaceReferences(), 0);
    EXPECT_TRUE(rig.bundle->canUnload());
  }
  EXPECT_EQ(midisystem::clientCount(), 0);
}

}  // namespace
}  // namespace director
