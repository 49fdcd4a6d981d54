#include "devhelper/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace blindfold {
namespace {
std::string refusal(const std::vector<std::string>& arguments) {
  try {
    parseOptions(arguments);
  } catch (const OptionError& error) {
    return error.what();
  }
  return "(accepted)";
}

TEST(OptionsTest, NoArgumentsServeTheDevelopmentServiceWithAnIdleBuiltInCamera) {
  const auto options = parseOptions({});
  EXPECT_EQ(options.service, BLINDFOLD_DEVELOPMENT_SERVICE);
  EXPECT_EQ(options.scriptPath, std::nullopt);
  EXPECT_EQ(options.recordPath, std::nullopt);
  EXPECT_FALSE(options.cameraInUse);
  EXPECT_EQ(options.kind, CameraKind::builtIn);
}

TEST(OptionsTest, EveryOptionIsTaken) {
  const auto options = parseOptions({"--service", "a.b", "--script", "s", "--record", "r",
                                     "--camera-in-use", "--kind", "continuity", "--help"});
  EXPECT_EQ(options, (Options{"a.b", "s", "r", true, CameraKind::continuity, true}));
}

TEST(OptionsTest, TheLastOfAnOptionGivenTwiceCounts) {
  EXPECT_EQ(parseOptions({"--service", "a", "--service", "b"}).service, "b");
}

TEST(OptionsTest, AnOperandMayLookLikeAnOption) {
  EXPECT_EQ(parseOptions({"--script", "--record"}).scriptPath, "--record");
}

TEST(OptionsTest, EveryKindOfCameraIsTaken) {
  for (const auto& kind : EnumerationCoding<CameraKind>::rawValues) {
    EXPECT_EQ(parseOptions({"--kind", std::string(kind.text)}).kind, kind.value);
  }
}

TEST(OptionsTest, AnUnknownOptionIsRefused) {
  EXPECT_EQ(refusal({"--verbose"}), "unknown option '--verbose'");
}

TEST(OptionsTest, AnArgumentThatIsNoOptionIsRefused) {
  EXPECT_EQ(refusal({"script"}), "unknown option 'script'");
}

TEST(OptionsTest, AnEmptyArgumentIsRefused) {
  EXPECT_EQ(refusal({""}), "unknown option ''");
}

TEST(OptionsTest, AMissingOperandIsRefused) {
  EXPECT_EQ(refusal({"--script"}), "--script needs FILE");
  EXPECT_EQ(refusal({"--camera-in-use", "--kind"}),
            "--kind needs builtIn|externalUSB|continuity|unknown");
}

TEST(OptionsTest, AnUnknownKindIsRefused) {
  EXPECT_EQ(refusal({"--kind", "builtin"}), "'builtin' is not a kind of camera");
}

TEST(OptionsTest, ARefusalIsOneLineWhateverTheArgument) {
  EXPECT_THAT(refusal({"--a\nb\x1b"}), testing::Not(testing::ContainsRegex("[\n\x1b]")));
}

TEST(OptionsTest, TheUsageIsOneLineOfEveryOption) {
  EXPECT_EQ(usageLine(),
            "usage: blindfold-devhelper [--service NAME] [--script FILE] [--record FILE] "
            "[--camera-in-use] [--kind builtIn|externalUSB|continuity|unknown] [--help]");
}

TEST(OptionsTest, TheHelpIsTheUsageAndALineForEachOption) {
  const std::string help = helpText();
  EXPECT_THAT(help, testing::StartsWith(usageLine() + "\n\n"));
  for (const auto* option :
       {"--service", "--script", "--record", "--camera-in-use", "--kind", "--help"}) {
    EXPECT_THAT(help, testing::HasSubstr(std::string("\n  ") + option));
  }
  EXPECT_THAT(help, testing::HasSubstr(BLINDFOLD_DEVELOPMENT_SERVICE));
}
}  // namespace
}  // namespace blindfold
