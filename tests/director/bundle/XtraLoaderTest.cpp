// The loader with the product bundle: missing arguments, unloading only when allowed, and the
// reasons a bundle is refused.
#include "XtraLoader.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "BundleRig.h"
#include "MidiSystemControl.h"

namespace director {
namespace {

namespace fs = std::filesystem;

const std::string kNoError = "[#code: 0, #text: \"No error\"]";

// Finding the bundle beside the program, by its name in any case, and numbering its methods
// from its table is how the message window runs every script.
TEST(XtraLoader, CallsByNameWithMissingArgumentsAsVoidAndUnloadsOnlyWhenAllowed) {
  {
    BundleRig rig(TONVIK_XTRA_PATH);
    ASSERT_TRUE(rig.loaded());
    ASSERT_EQ(rig.create(), "0");
    EXPECT_EQ(rig.call("init"), kNoError);
    EXPECT_EQ(rig.call("OpenInput", std::vector<std::int32_t>{1}), "<Void> status 80040101");
    EXPECT_EQ(rig.call("OpenInput", std::vector<std::int32_t>{1, 100}), kNoError);
    EXPECT_EQ(rig.call("OpenOutput", std::vector<std::int32_t>{1}), kNoError);
    EXPECT_FALSE(rig.loader.unload("Tonvik"));
    // Destroyed with its ports open, the instance gives back everything.
    rig.instance.reset();
    EXPECT_EQ(rig.store.liveValues(), 0u);
    EXPECT_EQ(rig.store.liveBlocks(), 0u);
    EXPECT_EQ(rig.store.interfaceReferences(), 0);
    rig.bundle.reset();
    EXPECT_TRUE(rig.loader.unload("TONVIK"));
    EXPECT_EQ(rig.loader.find("Tonvik"), nullptr);
    EXPECT_FALSE(rig.loader.unload("Tonvik"));
  }
  EXPECT_EQ(midisystem::clientCount(), 0);
}

TEST(XtraLoader, SaysWhyABundleCouldNotBeLoaded) {
  ValueStore store;
  XtraLoader loader(store);
  const fs::path folder = fs::path(testing::TempDir()) / ("xtras-" + std::to_string(getpid()));
  fs::create_directories(folder);
  fs::copy_file(NOT_AN_XTRA_PATH, folder / "Plain.xtra", fs::copy_options::overwrite_existing);
  fs::copy_file(TONVIK_XTRA_PATH, folder / "Tonvik.xtra", fs::copy_options::overwrite_existing);
  fs::copy_file(TONVIK_XTRA_PATH, folder / "Twin.xtra", fs::copy_options::overwrite_existing);
  std::ofstream(folder / "Broken.xtra") << "not a library";
  std::ofstream(folder / "notes.txt") << "ignored";
  const std::vector<std::string> problems = loader.loadFolder(folder.string());
  fs::remove_all(folder);
  ASSERT_EQ(problems.size(), 3u);
  EXPECT_NE(problems[0].find("cannot load"), std::string::npos) << problems[0];
  EXPECT_NE(problems[1].find("does not export ppcSetFileRef"), std::string::npos) << problems[1];
  EXPECT_NE(problems[2].find("already loaded"), std::string::npos) << problems[2];
  EXPECT_EQ(loader.bundles().size(), 1u);

  const std::vector<std::string> missing = loader.loadFolder("/nonexistent/Xtras");
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_NE(missing[0].find("/nonexistent/Xtras"), std::string::npos);

  XtraLoader refusing(store);
  refusing.registry().failEntries(kIID_IMoaMmXScript, kHostErrInjected);
  const std::optional<std::string> problem = refusing.loadBundle(TONVIK_XTRA_PATH);
  ASSERT_TRUE(problem.has_value());
  EXPECT_NE(problem->find("0x80040104"), std::string::npos) << *problem;
  EXPECT_TRUE(refusing.bundles().empty());
}

}  // namespace
}  // namespace director
