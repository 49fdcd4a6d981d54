#include <gtest/gtest.h>

#include "blindfold/platform/linux/linux_bundle.h"

namespace blindfold {
namespace {
/// This program is linked without a property list.
TEST(NoLinkedPropertyListTest, ItIsEmpty) {
  EXPECT_EQ(linkedPropertyList(), "");
}

TEST(NoLinkedPropertyListTest, TheMainBundleDeclaresNothing) {
  const LinuxBundleProvider bundles;
  EXPECT_EQ(bundles.mainBundle().bundleIdentifier(), std::nullopt);
  EXPECT_EQ(bundles.mainBundle().objectForInfoDictionaryKey("CFBundleName"), std::nullopt);
}
}  // namespace
}  // namespace blindfold
