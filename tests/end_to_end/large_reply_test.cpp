// Replies far beyond what a Mac would send.

#include <gtest/gtest.h>

#include <string>

#include "blindfold/model/detection.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
using LargeReplyTest = EndToEndTest;

constexpr int many = 100'000;

DetectionResult largeDetection() {
  DetectionResult result;
  for (int index = 0; index < many; ++index) {
    const std::string id = "CAM-" + std::to_string(index);
    result.cameras.push_back({.id = id,
                              .localizedName = "Kamera für Büro \"" + id + "\"",
                              .modelID = "MODEL/1",
                              .uniqueID = id,
                              .transportType = "builtIn",
                              .isConnected = true,
                              .isSuspended = false,
                              .isInUseByAnotherApplication = false,
                              .kind = CameraKind::builtIn,
                              .isExperimental = false});
    result.serviceStates.push_back(
        {.label = "service." + id, .domain = ServiceDomain::gui, .pid = index});
  }
  result.resolvedTargets.emplace_back("com.apple.appleh" + std::string(4'000'000, '1') + "camerad",
                                      ServiceDomain::system, 0, 1, ControlMode::sigstop);
  result.selectedCameraID = "CAM-" + std::to_string(many - 1);
  return result;
}

TEST_F(LargeReplyTest, AHundredThousandCamerasAndServicesArePrintedAsTheyCame) {
  const std::string reply = makeJSONEncoder().encode(largeDetection());
  writeFile(path("reply"), reply);
  startHelper("detectTargets: reply-file " + path("reply") + "\n");
  const ProgramResult result = run({"detect"});
  EXPECT_EQ(result.exitStatus, 0) << result.standardError;
  EXPECT_TRUE(result.standardOutput == reply + "\n");
}

TEST_F(LargeReplyTest, AHoldOverAHundredThousandServicesIsSent) {
  writeFile(path("reply"), makeJSONEncoder().encode(largeDetection()));
  startHelper("detectTargets: reply-file " + path("reply") +
              "\nhold:withReply: reply {\"success\":true,\"message\":\"held\"}\n");
  expectPrinted(run({"hold-built-in"}), R"({"message":"held","success":true})");
  const std::string received = record();
  EXPECT_NE(received.find(R"("service.CAM-99999":99999)"), std::string::npos);
}

TEST_F(LargeReplyTest, AMillionOpenBracketsAreAnErrorAndNotACrash) {
  writeFile(path("reply"), std::string(1'000'000, '['));
  startHelper("currentState: reply-file " + path("reply") + "\n");
  const ProgramResult result = run({"status"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_LT(result.standardError.size(), 300U);
}
}  // namespace
}  // namespace blindfold
