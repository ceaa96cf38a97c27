#include "XtraLoader.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace director {
namespace {

namespace fs = std::filesystem;

class XtraLoaderTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(loader_.loadFolder(FAKE_XTRAS_DIR), std::vector<std::string>{});
    echo_ = loader_.find("echo");
    ASSERT_NE(echo_, nullptr);
  }

  void TearDown() override {
    EXPECT_EQ(store_.liveValues(), 0u);
    EXPECT_EQ(store_.liveBlocks(), 0u);
  }

  std::unique_ptr<XtraInstance> newEcho() {
    NewInstanceResult made = echo_->newInstance();
    EXPECT_EQ(made.status, kHostOk);
    return std::move(made.instance);
  }

  ValueStore store_;
  XtraLoader loader_{store_};
  std::shared_ptr<XtraBundle> echo_;
};

TEST_F(XtraLoaderTest, LearnsTheLingoNameAndNumbersOnlyDeclarationLines) {
  EXPECT_EQ(echo_->lingoName(), "Echo");
  EXPECT_EQ(echo_->methodNames(),
            (std::vector<std::string>{"new", "Selector", "AddOne", "TypeOfSecond"}));
  EXPECT_EQ(echo_->methodNumber("ADDONE"), 2);
  EXPECT_EQ(echo_->methodNumber("nothing"), std::nullopt);
  EXPECT_EQ(loader_.bundles().size(), 1u);
}

TEST_F(XtraLoaderTest, CallsByNameWithArgumentsAndMissingOnesAsVoid) {
  auto echo = newEcho();
  ASSERT_NE(echo, nullptr);
  struct Case {
    const char* method;
    std::vector<LingoValue> arguments;
    HostStatus status;
    const char* printed;
  };
  LingoValue fortyOne = store_.makeInteger(41);
  LingoValue text = store_.makeString("one");
  const Case cases[] = {
      {"selector", {}, kHostOk, "1"},
      {"AddOne", {fortyOne}, kHostOk, "42"},
      {"AddOne", {text}, kHostErrWrongType, "<Void>"},
      {"AddOne", {}, kHostErrWrongType, "<Void>"},
      {"TypeOfSecond", {fortyOne}, kHostOk, "0"},
      {"TypeOfSecond", {fortyOne, text}, kHostOk, "3"},
  };
  for (const Case& c : cases) {
    XtraCallResult called = echo->call(c.method, c.arguments);
    EXPECT_TRUE(called.methodFound) << c.method;
    EXPECT_EQ(called.status, c.status) << c.method;
    EXPECT_EQ(store_.print(called.result), c.printed) << c.method;
    store_.release(called.result);
  }
  EXPECT_FALSE(echo->call("Missing").methodFound);
  store_.release(fortyOne);
  store_.release(text);
}

TEST_F(XtraLoaderTest, UnloadsOnlyWhenTheBundleAllowsIt) {
  auto echo = newEcho();
  EXPECT_FALSE(echo_->canUnload());
  EXPECT_FALSE(loader_.unload("Echo"));
  EXPECT_NE(loader_.find("Echo"), nullptr);
  echo.reset();
  EXPECT_TRUE(echo_->canUnload());
  EXPECT_EQ(store_.interfaceReferences(), 0);
  echo_.reset();
  EXPECT_TRUE(loader_.unload("ECHO"));
  EXPECT_EQ(loader_.find("Echo"), nullptr);
  EXPECT_FALSE(loader_.unload("Echo"));
}

TEST_F(XtraLoaderTest, SaysWhyABundleCouldNotBeLoaded) {
  const fs::path folder = fs::path(testing::TempDir()) / ("xtras-" + std::to_string(getpid()));
  fs::create_directories(folder);
  fs::copy_file(NOT_AN_XTRA_PATH, folder / "Plain.xtra", fs::copy_options::overwrite_existing);
  fs::copy_file(fs::path(FAKE_XTRAS_DIR) / "Echo.xtra", folder / "Twin.xtra",
                fs::copy_options::overwrite_existing);
  std::ofstream(folder / "Broken.xtra") << "not a library";
  std::ofstream(folder / "notes.txt") << "ignored";

  const std::vector<std::string> problems = loader_.loadFolder(folder.string());
  fs::remove_all(folder);
  ASSERT_EQ(problems.size(), 3u);
  EXPECT_NE(problems[0].find("cannot load"), std::string::npos) << problems[0];
  EXPECT_NE(problems[1].find("does not export ppcSetFileRef"), std::string::npos) << problems[1];
  EXPECT_NE(problems[2].find("already loaded"), std::string::npos) << problems[2];

  const std::vector<std::string> missing = loader_.loadFolder("/nonexistent/Xtras");
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_NE(missing[0].find("/nonexistent/Xtras"), std::string::npos);
}

TEST_F(XtraLoaderTest, RegistrationFailureIsReportedWithItsStatus) {
  ValueStore store;
  XtraLoader loader(store);
  loader.registry().failEntries(kIID_IMoaMmXScript, kHostErrInjected);
  const std::vector<std::string> problems = loader.loadFolder(FAKE_XTRAS_DIR);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("0x80040104"), std::string::npos) << problems[0];
  EXPECT_TRUE(loader.bundles().empty());
}

TEST(XtraLoader, LooksForXtrasBesideTheProgram) {
  const fs::path folder = XtraLoader::xtrasFolderBesideExecutable();
  EXPECT_EQ(folder.filename(), "Xtras");
  EXPECT_EQ(folder.parent_path(), fs::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
}  // namespace director
