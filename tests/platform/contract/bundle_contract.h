#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "blindfold/platform/bundle.h"
#include "tests/support/own_executable.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {

/// The answers of every platform's bundles about the same directories. `Provider` is the
/// platform's.
template <class Provider>
class BundleContract : public testing::Test {
 protected:
  BundleContract() {
    std::filesystem::create_directories(url_.path() + "/Contents/MacOS");
    // GNUstep looks for the same property list in the directory of this name.
    std::filesystem::create_symlink("Contents", url_.path() + "/Resources");
  }

  /// Writes the bundle's property list with these keys and values.
  void writeInfo(const std::string& entries) const {
    writeInfoFile("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" +
                  entries + "</dict></plist>\n");
  }
  void writeInfoFile(const std::string& contents) const {
    std::ofstream(url_.path() + "/Contents/Info.plist") << contents;
  }

  std::unique_ptr<Bundle> open() const { return provider_.bundleWithURL(url_); }

  std::optional<DictionaryValue> valueOf(const std::string& key) const {
    return open()->objectForInfoDictionaryKey(key);
  }

  const Provider provider_;
  const TemporaryDirectory directory_;
  const FileURL url_ = FileURL(directory_.path()).appendingPathComponent("X.app");
};

TYPED_TEST_SUITE_P(BundleContract);

TYPED_TEST_P(BundleContract, WhereThereIsNoDirectoryThereIsNoBundle) {
  std::ofstream(this->directory_.path() + "/file") << "text";
  const FileURL place(this->directory_.path());
  EXPECT_EQ(this->provider_.bundleWithURL(place.appendingPathComponent("missing")), nullptr);
  EXPECT_EQ(this->provider_.bundleWithURL(place.appendingPathComponent("file")), nullptr);
}

TYPED_TEST_P(BundleContract, APathWithANULByteHoldsNoBundle) {
  EXPECT_EQ(this->provider_.bundleWithURL(FileURL(this->url_.path() + std::string("\0x", 2))),
            nullptr);
}

TYPED_TEST_P(BundleContract, StandsWhereItWasOpened) {
  EXPECT_EQ(this->open()->bundleURL(), this->url_);
}

TYPED_TEST_P(BundleContract, HasTheIdentifierThatItDeclares) {
  this->writeInfo("<key>CFBundleIdentifier</key><string>app.example</string>");
  EXPECT_EQ(this->open()->bundleIdentifier(), "app.example");
}

TYPED_TEST_P(BundleContract, HasNoIdentifierWhenItDeclaresNone) {
  this->writeInfo("<key>CFBundleName</key><string>X</string>");
  EXPECT_EQ(this->open()->bundleIdentifier(), std::nullopt);
}

TYPED_TEST_P(BundleContract, DeclaresNothingWithoutAPropertyList) {
  EXPECT_EQ(this->open()->bundleIdentifier(), std::nullopt);
  EXPECT_EQ(this->valueOf("CFBundleIdentifier"), std::nullopt);
}

TYPED_TEST_P(BundleContract, DeclaresNothingWithAMalformedPropertyList) {
  this->writeInfoFile("<plist><dict><key>CFBundleIdentifier</key><string>app.example");
  EXPECT_EQ(this->open()->bundleIdentifier(), std::nullopt);
}

TYPED_TEST_P(BundleContract, HasTextAsItStands) {
  this->writeInfo(
      "<key>text</key><string>  \u00e9\U0001f600 &lt;&amp;\n</string>"
      "<key>empty</key><string></string>");
  EXPECT_EQ(this->valueOf("text"), DictionaryValue("  \u00e9\U0001f600 <&\n"));
  EXPECT_EQ(this->valueOf("empty"), DictionaryValue(""));
}

TYPED_TEST_P(BundleContract, TellsEveryElementOfAnArray) {
  this->writeInfo(
      "<key>array</key><array><string>a</string><integer>1</integer><string>a</string>"
      "<array><string>b</string></array></array><key>empty</key><array/>");
  EXPECT_EQ(this->valueOf("array"),
            DictionaryValue(ValueArray{"a", std::nullopt, "a", std::nullopt}));
  EXPECT_EQ(this->valueOf("empty"), DictionaryValue(ValueArray{}));
}

TYPED_TEST_P(BundleContract, HasOpaqueValuesOfEveryOtherKind) {
  this->writeInfo(
      "<key>integer</key><integer>1</integer><key>real</key><real>1.5</real>"
      "<key>yes</key><true/><key>date</key><date>2024-01-02T03:04:05Z</date>"
      "<key>data</key><data>AAEC</data>"
      "<key>dictionary</key><dict><key>a</key><string>b</string></dict>");
  for (const char* key : {"integer", "real", "yes", "date", "data", "dictionary"}) {
    EXPECT_EQ(this->valueOf(key), DictionaryValue(OpaqueValue{})) << key;
  }
}

TYPED_TEST_P(BundleContract, HasNothingUnderAnotherKey) {
  this->writeInfo("<key>text</key><string>a</string>");
  EXPECT_EQ(this->valueOf("Text"), std::nullopt);
  EXPECT_EQ(this->valueOf(""), std::nullopt);
}

TYPED_TEST_P(BundleContract, TheMainBundleHasAnExecutable) {
  const auto executable = this->provider_.mainBundle().executableURL();
  ASSERT_TRUE(executable.has_value());
  EXPECT_EQ(executable->path(), ownExecutablePath());
}

REGISTER_TYPED_TEST_SUITE_P(BundleContract, WhereThereIsNoDirectoryThereIsNoBundle,
                            APathWithANULByteHoldsNoBundle, StandsWhereItWasOpened,
                            HasTheIdentifierThatItDeclares, HasNoIdentifierWhenItDeclaresNone,
                            DeclaresNothingWithoutAPropertyList,
                            DeclaresNothingWithAMalformedPropertyList, HasTextAsItStands,
                            TellsEveryElementOfAnArray, HasOpaqueValuesOfEveryOtherKind,
                            HasNothingUnderAnotherKey, TheMainBundleHasAnExecutable);

}  // namespace blindfold
