#include "blindfold/model/service_id.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(ServiceIDTest, JoinsDomainAndLabelByAColon) {
  EXPECT_EQ(serviceID(ServiceDomain::system, "com.example.one"), "system:com.example.one");
  EXPECT_EQ(serviceID(ServiceDomain::gui, "com.example.one"), "gui:com.example.one");
}

TEST(ServiceIDTest, AnEmptyLabelLeavesTheColon) {
  EXPECT_EQ(serviceID(ServiceDomain::gui, ""), "gui:");
}

}  // namespace
}  // namespace blindfold
