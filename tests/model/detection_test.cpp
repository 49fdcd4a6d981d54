#include "blindfold/model/detection.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
TEST(ServiceIDTest, JoinsDomainAndLabelByAColon) {
  EXPECT_EQ(serviceID(ServiceDomain::system, "com.example.one"), "system:com.example.one");
  EXPECT_EQ(serviceID(ServiceDomain::gui, "com.example.one"), "gui:com.example.one");
}

TEST(ServiceIDTest, AnEmptyLabelLeavesTheColon) {
  EXPECT_EQ(serviceID(ServiceDomain::gui, ""), "gui:");
}

TEST(TargetServiceTest, IdIsDomainColonLabel) {
  TargetService target = sample::target();
  target.domain = ServiceDomain::system;
  EXPECT_EQ(target.id(), "system:com.apple.appleh13camerad");
}

TEST(TargetServiceTest, IdOfTheGuiDomainBeginsWithGui) {
  EXPECT_EQ(sample::target().id(), "gui:com.apple.appleh13camerad");
}

TEST(TargetServiceTest, IdEscapesNothing) {
  TargetService target = sample::target();
  target.label = "a:b/\"c\"\n";
  EXPECT_EQ(target.id(), "gui:a:b/\"c\"\n");
}

TEST(TargetServiceTest, IdIsUnaffectedByAnAbsentPid) {
  TargetService target = sample::target();
  target.pid = std::nullopt;
  EXPECT_EQ(target.id(), sample::target().id());
}

TEST(TargetServiceTest, UnequalTargetsMayShareAnId) {
  TargetService other = sample::target();
  other.priority = 7;
  other.controlMode = ControlMode::sigstop;
  EXPECT_NE(other, sample::target());
  EXPECT_EQ(other.id(), sample::target().id());
}

TEST(LaunchdServiceStateTest, HasTheIdOfTheTargetOfTheSameService) {
  const TargetService target = sample::target();
  const LaunchdServiceState state{.label = target.label, .domain = target.domain};
  EXPECT_EQ(state.id(), target.id());
}

TEST(DetectionResultTest, TheOrderOfAListTakesPartInEquality) {
  DetectionResult other = sample::detection();
  std::reverse(other.notes.begin(), other.notes.end());
  EXPECT_NE(other, sample::detection());
}

TEST(DetectionResultTest, TheLengthOfAListTakesPartInEquality) {
  DetectionResult other = sample::detection();
  other.notes.pop_back();
  EXPECT_NE(other, sample::detection());
}
}  // namespace
}  // namespace blindfold
