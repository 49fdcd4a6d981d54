#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "blindfold/service/capabilities.h"

namespace blindfold {
namespace {
template <class Interface>
class CapabilityTest : public testing::Test {};

using Interfaces = testing::Types<HelperControlling, MicrophoneControlling, DispatchQueue>;
TYPED_TEST_SUITE(CapabilityTest, Interfaces, );

TYPED_TEST(CapabilityTest, ItIsAbstract) {
  EXPECT_TRUE(std::is_abstract_v<TypeParam>);
}

TYPED_TEST(CapabilityTest, AnImplementationIsDestroyedThroughIt) {
  struct Implementation : TypeParam {
    explicit Implementation(bool& flag) : destroyed(flag) {}
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;
    ~Implementation() override { destroyed = true; }
    bool& destroyed;
  };
  bool destroyed = false;
  std::unique_ptr<TypeParam> capability = std::make_unique<Implementation>(destroyed);
  capability.reset();
  EXPECT_TRUE(destroyed);
}
}  // namespace
}  // namespace blindfold
