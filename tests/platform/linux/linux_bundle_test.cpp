#include "blindfold/platform/linux/linux_bundle.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
std::string listWith(std::string_view entries) {
  return "<plist><dict>" + std::string(entries) + "</dict></plist>";
}

const std::string blindfoldList = listWith(
    "<key>CFBundleIdentifier</key><string>app.blindfold.mac</string>"
    "<key>CFBundleExecutable</key><string>Blindfold</string>");

TEST(BundleURLTest, AnExecutableInAnAppBelongsToTheApp) {
  EXPECT_EQ(bundleURLOfExecutable(FileURL("/a/X.app/Contents/MacOS/tool")), FileURL("/a/X.app"));
}

TEST(BundleURLTest, AnyOtherExecutableBelongsToItsDirectory) {
  for (const std::string_view directory :
       {"/a/X.app/Contents/Resources", "/a/X.app/MacOS", "/a/X.app/Contents/MacOS/sub",
        "/a/X/Contents/MacOS", "/a/X.App/Contents/MacOS", "/a/X.app/contents/MacOS",
        "/a/X.app/Contents/macos", "/usr/bin", "/"}) {
    EXPECT_EQ(bundleURLOfExecutable(FileURL(directory).appendingPathComponent("tool")),
              FileURL(directory));
  }
}

/// A bundle directory, X.app, to be filled.
class DirectoryBundleTest : public testing::Test {
 protected:
  DirectoryBundleTest() { std::filesystem::create_directories(url_.path() + "/Contents/MacOS"); }

  std::string infoPath() const { return url_.path() + "/Contents/Info.plist"; }
  void writeInfo(const std::string& list) const { std::ofstream(infoPath()) << list; }
  std::unique_ptr<Bundle> open() const { return bundles_.bundleWithURL(url_); }

  // Expects that there is a bundle, but that it declares nothing.
  void expectNothingDeclared() const {
    const auto bundle = open();
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("CFBundleIdentifier"), std::nullopt);
    EXPECT_EQ(bundle->executableURL(), std::nullopt);
  }

  const TemporaryDirectory directory_;
  const FileURL url_ = FileURL(directory_.path()).appendingPathComponent("X.app");
  const LinuxBundleProvider bundles_;
};

TEST_F(DirectoryBundleTest, ItsIdentifierIsTheOneItsListDeclares) {
  writeInfo(blindfoldList);
  EXPECT_EQ(open()->bundleIdentifier(), "app.blindfold.mac");
}

TEST_F(DirectoryBundleTest, ItsURLIsTheOneItWasOpenedWith) {
  EXPECT_EQ(open()->bundleURL(), url_);
}

TEST_F(DirectoryBundleTest, ItsInfoDictionaryHasValuesOfAllKinds) {
  writeInfo(
      listWith("<key>text</key><string>a</string><key>array</key><array><string>b</string>"
               "<true/></array><key>other</key><integer>1</integer>"));
  const auto bundle = open();
  EXPECT_EQ(bundle->objectForInfoDictionaryKey("text"), DictionaryValue("a"));
  EXPECT_EQ(bundle->objectForInfoDictionaryKey("array"),
            DictionaryValue(ValueArray{"b", std::nullopt}));
  EXPECT_EQ(bundle->objectForInfoDictionaryKey("other"), DictionaryValue(OpaqueValue()));
  EXPECT_EQ(bundle->objectForInfoDictionaryKey("none"), std::nullopt);
}

TEST_F(DirectoryBundleTest, AnIdentifierThatIsNoTextIsNoIdentifier) {
  writeInfo(listWith("<key>CFBundleIdentifier</key><integer>1</integer>"));
  EXPECT_EQ(open()->bundleIdentifier(), std::nullopt);
}

TEST_F(DirectoryBundleTest, TheListIsReadEachTimeTheBundleIsOpened) {
  writeInfo(blindfoldList);
  EXPECT_EQ(open()->bundleIdentifier(), "app.blindfold.mac");
  writeInfo(listWith("<key>CFBundleIdentifier</key><string>app.other</string>"));
  EXPECT_EQ(open()->bundleIdentifier(), "app.other");
}

TEST_F(DirectoryBundleTest, WithoutAListItDeclaresNothing) {
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithoutContentsItDeclaresNothing) {
  std::filesystem::remove_all(url_.path() + "/Contents");
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithAMalformedListItDeclaresNothing) {
  writeInfo(blindfoldList + "x");
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithABinaryListItDeclaresNothing) {
  writeInfo(std::string("bplist00\xd1\x01\x02QkQv\x08\x0b\x0d\0\0\0\0", 20));
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithADirectoryForAListItDeclaresNothing) {
  std::filesystem::create_directory(infoPath());
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithAFIFOForAListItDeclaresNothingAndDoesNotWait) {
  ASSERT_EQ(mkfifo(infoPath().c_str(), 0600), 0);
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithADeviceForAListItDeclaresNothing) {
  std::filesystem::create_symlink("/dev/zero", infoPath());
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, WithADanglingLinkForAListItDeclaresNothing) {
  std::filesystem::create_symlink("nowhere", infoPath());
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, TheListMayBeALinkToARegularFile) {
  std::ofstream(directory_.path() + "/list") << blindfoldList;
  std::filesystem::create_symlink("../../list", infoPath());
  EXPECT_EQ(open()->bundleIdentifier(), "app.blindfold.mac");
}

TEST_F(DirectoryBundleTest, AListOfTheGreatestSizeIsRead) {
  writeInfo(blindfoldList + std::string(maximumInfoFileSize - blindfoldList.size(), ' '));
  EXPECT_EQ(open()->bundleIdentifier(), "app.blindfold.mac");
}

TEST_F(DirectoryBundleTest, ALongerListIsNotRead) {
  writeInfo(blindfoldList + std::string(maximumInfoFileSize - blindfoldList.size() + 1, ' '));
  expectNothingDeclared();
}

TEST_F(DirectoryBundleTest, ItsExecutableIsTheDeclaredFileInMacOS) {
  writeInfo(blindfoldList);
  const std::string path = url_.path() + "/Contents/MacOS/Blindfold";
  EXPECT_EQ(open()->executableURL(), std::nullopt);
  std::ofstream(path) << "#!/bin/sh\n";
  EXPECT_EQ(open()->executableURL(), FileURL(path));
}

TEST_F(DirectoryBundleTest, AnExecutableOutsideMacOSIsNotItsOwn) {
  for (const std::string_view name : {"../Info.plist", "", ".", ".."}) {
    writeInfo(listWith("<key>CFBundleExecutable</key><string>" + std::string(name) + "</string>"));
    EXPECT_EQ(open()->executableURL(), std::nullopt) << name;
  }
}

TEST_F(DirectoryBundleTest, WhatIsNoDirectoryIsNoBundle) {
  writeInfo(blindfoldList);
  EXPECT_EQ(bundles_.bundleWithURL(FileURL(infoPath())), nullptr);
  EXPECT_EQ(bundles_.bundleWithURL(FileURL(directory_.path() + "/nowhere")), nullptr);
}

TEST_F(DirectoryBundleTest, ALinkToADirectoryIsABundle) {
  writeInfo(blindfoldList);
  const std::string link = directory_.path() + "/Link.app";
  std::filesystem::create_symlink("X.app", link);
  EXPECT_EQ(bundles_.bundleWithURL(FileURL(link))->bundleIdentifier(), "app.blindfold.mac");
}

TEST_F(DirectoryBundleTest, APathWithANULByteIsNoBundle) {
  EXPECT_EQ(bundles_.bundleWithURL(FileURL(url_.path() + std::string("\0x", 2))), nullptr);
}

/// This program is linked with the property list that ships.
TEST(MainBundleTest, ItsInfoDictionaryIsTheLinkedPropertyList) {
  const LinuxBundleProvider bundles;
  EXPECT_EQ(bundles.mainBundle().bundleIdentifier(), "app.blindfold.cli");
  EXPECT_EQ(bundles.mainBundle().objectForInfoDictionaryKey("CFBundleSupportedPlatforms"),
            DictionaryValue(ValueArray{"MacOSX"}));
  EXPECT_EQ(bundles.mainBundle().objectForInfoDictionaryKey("BlindfoldNoSuchKey"), std::nullopt);
}

TEST(MainBundleTest, ItsExecutableIsTheProgramThatRuns) {
  const LinuxBundleProvider bundles;
  EXPECT_EQ(bundles.mainBundle().executableURL(),
            FileURL(std::filesystem::canonical("/proc/self/exe").string()));
}

TEST(MainBundleTest, ItsURLIsTheDirectoryOfAProgramOutsideAnApp) {
  const LinuxBundleProvider bundles;
  EXPECT_EQ(bundles.mainBundle().bundleURL(),
            FileURL(std::filesystem::canonical("/proc/self/exe").parent_path().string()));
}

TEST(MainBundleTest, ThreadsMayAskForTheFirstTimeAtOnce) {
  const LinuxBundleProvider bundles;
  std::vector<std::optional<std::string>> answers(8);
  std::vector<std::thread> threads;
  threads.reserve(answers.size());
  for (auto& answer : answers) {
    threads.emplace_back([&] { answer = bundles.mainBundle().bundleIdentifier(); });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& answer : answers) EXPECT_EQ(answer, "app.blindfold.cli");
}
}  // namespace
}  // namespace blindfold
