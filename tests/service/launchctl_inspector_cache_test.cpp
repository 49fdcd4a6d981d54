#include "blindfold/service/launchctl_inspector_cache.h"

#include <gtest/gtest.h>

#include <chrono>

namespace blindfold {
namespace {
struct FakeQueue : DispatchQueue {};

const Instant soon{std::chrono::seconds{1'000}};

class LaunchctlInspectorCacheTest : public testing::Test {
 protected:
  std::shared_ptr<FakeQueue> queue_ = std::make_shared<FakeQueue>();
  LaunchctlInspectorCache cache_{queue_, 1.5, 2.5, 3.5};
};

TEST_F(LaunchctlInspectorCacheTest, ItKeepsItsQueueAndItsTimesToLive) {
  EXPECT_EQ(cache_.queue, queue_);
  EXPECT_EQ(cache_.consoleUIDTTL, 1.5);
  EXPECT_EQ(cache_.discoveredLabelsTTL, 2.5);
  EXPECT_EQ(cache_.pidTTL, 3.5);
}

TEST_F(LaunchctlInspectorCacheTest, ItIsEmptyAtFirst) {
  EXPECT_EQ(cache_.consoleUIDEntry, std::nullopt);
  EXPECT_EQ(cache_.discoveredSystemLabelsEntry, std::nullopt);
  EXPECT_TRUE(cache_.pidEntriesByTarget.empty());
}

TEST_F(LaunchctlInspectorCacheTest, AnEntryCanSayThatNothingWasFound) {
  cache_.consoleUIDEntry = {.value = std::nullopt, .expiresAt = soon};
  cache_.pidEntriesByTarget["label"] = {.value = std::nullopt, .expiresAt = soon};
  EXPECT_NE(cache_.consoleUIDEntry, std::nullopt);
  EXPECT_EQ(cache_.pidEntriesByTarget.at("label").value, std::nullopt);
}

TEST_F(LaunchctlInspectorCacheTest, AnEntryKeepsItsValueAndItsEnd) {
  cache_.discoveredSystemLabelsEntry = {.value = {"a", "b"}, .expiresAt = soon};
  using Entry = LaunchctlInspectorCache::TimedEntry<std::vector<std::string>>;
  EXPECT_EQ(cache_.discoveredSystemLabelsEntry, (Entry{.value = {"a", "b"}, .expiresAt = soon}));
  EXPECT_NE(cache_.discoveredSystemLabelsEntry, (Entry{.value = {"a"}, .expiresAt = soon}));
  EXPECT_NE(cache_.discoveredSystemLabelsEntry, (Entry{.value = {"a", "b"}, .expiresAt = {}}));
}
}  // namespace
}  // namespace blindfold
