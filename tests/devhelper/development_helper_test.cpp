#include "devhelper/development_helper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
using testing::StartsWith;

class SimulatedReplyTest : public testing::Test {
 protected:
  Bytes reply(HelperMethod method, MessageArgument argument = NoArgument{}) {
    return simulatedReply(mac_, {method, std::move(argument)});
  }

  template <class Record>
  Record record(HelperMethod method, MessageArgument argument = NoArgument{}) {
    return JSONDecoder{}.decode<Record>(reply(method, std::move(argument)));
  }

  OperationResult hold() {
    const auto detection = record<DetectionResult>(HelperMethod::detectTargets);
    const HoldRequest request(detection.selectedCameraID.value(), CameraKind::builtIn,
                              detection.resolvedTargets, false, 30, {{"a", 1}});
    return record<OperationResult>(HelperMethod::hold,
                                   DataArgument{makeJSONEncoder().encode(request)});
  }

  SimulatedMac mac_{{}, [] { return Moment{}; }, [] { return std::string("LEASE"); }};
};

TEST_F(SimulatedReplyTest, DetectionIsTheMacs) {
  EXPECT_EQ(record<DetectionResult>(HelperMethod::detectTargets), mac_.detectTargets());
}

TEST_F(SimulatedReplyTest, AHoldIsTheMacs) {
  EXPECT_TRUE(hold().success);
  EXPECT_EQ(record<HoldState>(HelperMethod::currentState).leaseID, "LEASE");
}

TEST_F(SimulatedReplyTest, AHoldThatIsNoRequestIsNoSuccess) {
  const auto result = record<OperationResult>(HelperMethod::hold, DataArgument{"{"});
  EXPECT_FALSE(result.success);
  EXPECT_THAT(result.message, StartsWith("That is not a hold request: "));
}

TEST_F(SimulatedReplyTest, RenewalTakesTheLease) {
  hold();
  EXPECT_TRUE(record<OperationResult>(HelperMethod::renew, TextArgument{"LEASE"}).success);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::renew, TextArgument{"OTHER"}).success);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::renew, TextArgument{}).success);
}

TEST_F(SimulatedReplyTest, ReleaseTakesALeaseOrNone) {
  hold();
  EXPECT_FALSE(record<OperationResult>(HelperMethod::release, TextArgument{"OTHER"}).success);
  EXPECT_TRUE(record<OperationResult>(HelperMethod::release, TextArgument{}).success);
}

TEST_F(SimulatedReplyTest, RestoreIsTheMacs) {
  hold();
  EXPECT_TRUE(record<OperationResult>(HelperMethod::restoreAll).success);
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedReplyTest, MuteAndUnmuteAreTheMacs) {
  EXPECT_TRUE(record<OperationResult>(HelperMethod::muteMic).holdState.value().micMuted);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::unmuteMic).holdState.value().micMuted);
}

TEST_F(SimulatedReplyTest, PresenceBegins) {
  EXPECT_EQ(reply(HelperMethod::beginPresence), R"({"message":"Presence begun.","success":true})");
}

TEST_F(SimulatedReplyTest, ItSaysThatItIsInstalled) {
  EXPECT_EQ(reply(HelperMethod::installStatus), R"({"installed":true,"version":"development"})");
}

const HelperMessage mute{HelperMethod::muteMic, NoArgument{}};

TEST(DevelopmentHelperTest, AnswersByTheScriptAndElseByTheMac) {
  DevelopmentHelper helper({}, Script("muteMic: close\n", "s"));
  EXPECT_EQ(helper.answer(mute), Answer{.ending = Answer::Ending::close});
  const auto simulated = helper.answer({HelperMethod::unmuteMic, NoArgument{}});
  EXPECT_TRUE(JSONDecoder{}.decode<OperationResult>(simulated.bytes.view()).success);
}

TEST(DevelopmentHelperTest, SimulatesTheCameraOfItsOptions) {
  DevelopmentHelper helper({.cameraInUse = true, .kind = CameraKind::continuity}, Script());
  const auto answer = helper.answer({HelperMethod::detectTargets, NoArgument{}});
  const auto camera = JSONDecoder{}.decode<DetectionResult>(answer.bytes.view()).cameras.back();
  EXPECT_EQ(camera.kind, CameraKind::continuity);
  EXPECT_TRUE(camera.isInUseByAnotherApplication);
}

TEST(DevelopmentHelperTest, RecordsAScriptedMessageToo) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/record";
  DevelopmentHelper helper({.recordPath = path}, Script("muteMic: silent\n", "s"));
  helper.answer(mute);
  std::ifstream record(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(record), {}), "muteMic:\tnone\t\n");
}

#ifdef __linux__
TEST(DevelopmentHelperTest, AMessageThatCannotBeRecordedIsNotAnswered) {
  DevelopmentHelper helper({.recordPath = "/dev/full"}, Script());
  EXPECT_THROW(helper.answer(mute), PlatformError);
}
#endif
}  // namespace
}  // namespace blindfold
