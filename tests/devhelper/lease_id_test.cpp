#include "devhelper/lease_id.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace blindfold {
namespace {

TEST(LeaseIDTest, ItIsARandomUUIDInUpperCase) {
  EXPECT_THAT(makeLeaseID(),
              testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                    "[0-9A-F]{12}"));
}

TEST(LeaseIDTest, NoTwoAreEqual) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(makeLeaseID());
  EXPECT_EQ(seen.size(), 1000);
}

}  // namespace
}  // namespace blindfold
