#include "devhelper/simulated_helper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"

namespace blindfold {
namespace {

using testing::StartsWith;

class SimulatedHelperTest : public testing::Test {
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
    const HoldRequest request{.cameraID = detection.selectedCameraID.value(),
                              .kind = CameraKind::builtIn,
                              .targets = detection.resolvedTargets,
                              .durationHint = 30,
                              .correlationSnapshot = {{"a", 1}}};
    return record<OperationResult>(HelperMethod::hold,
                                   DataArgument{makeJSONEncoder().encode(request)});
  }

  SimulatedMac mac_{{}, [] { return Moment{}; }, [] { return std::string("LEASE"); }};
};

TEST_F(SimulatedHelperTest, DetectionIsTheMacs) {
  EXPECT_EQ(record<DetectionResult>(HelperMethod::detectTargets), mac_.detectTargets());
}

TEST_F(SimulatedHelperTest, AHoldIsTheMacs) {
  EXPECT_TRUE(hold().success);
  EXPECT_EQ(record<HoldState>(HelperMethod::currentState).leaseID, "LEASE");
}

TEST_F(SimulatedHelperTest, AHoldThatIsNoRequestIsNoSuccess) {
  const auto result = record<OperationResult>(HelperMethod::hold, DataArgument{"{"});
  EXPECT_FALSE(result.success);
  EXPECT_THAT(result.message, StartsWith("That is not a hold request: "));
}

TEST_F(SimulatedHelperTest, RenewalTakesTheLease) {
  hold();
  EXPECT_TRUE(record<OperationResult>(HelperMethod::renew, TextArgument{"LEASE"}).success);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::renew, TextArgument{"OTHER"}).success);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::renew, TextArgument{}).success);
}

TEST_F(SimulatedHelperTest, ReleaseTakesALeaseOrNone) {
  hold();
  EXPECT_FALSE(record<OperationResult>(HelperMethod::release, TextArgument{"OTHER"}).success);
  EXPECT_TRUE(record<OperationResult>(HelperMethod::release, TextArgument{}).success);
}

TEST_F(SimulatedHelperTest, RestoreIsTheMacs) {
  hold();
  EXPECT_TRUE(record<OperationResult>(HelperMethod::restoreAll).success);
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedHelperTest, MuteAndUnmuteAreTheMacs) {
  EXPECT_TRUE(record<OperationResult>(HelperMethod::muteMic).holdState.value().micMuted);
  EXPECT_FALSE(record<OperationResult>(HelperMethod::unmuteMic).holdState.value().micMuted);
}

TEST_F(SimulatedHelperTest, PresenceBegins) {
  EXPECT_EQ(reply(HelperMethod::beginPresence), R"({"message":"Presence begun.","success":true})");
}

TEST_F(SimulatedHelperTest, ItSaysThatItIsInstalled) {
  EXPECT_EQ(reply(HelperMethod::installStatus), R"({"installed":true,"version":"development"})");
}

}  // namespace
}  // namespace blindfold
