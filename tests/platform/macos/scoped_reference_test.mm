#include "blindfold/platform/macos/scoped_reference.h"

#include <gtest/gtest.h>

#include <utility>

#include "live_objects.h"

namespace blindfold {
namespace {
using StringReference = ObjectReference<NSMutableString*>;

/// A block that is on the heap once it is copied, because it captures something.
BlockReference<int (^)(void)> blockWith(int value) {
  return BlockReference<int (^)(void)>::retaining(^{
    return value;
  });
}

TEST(ScopedReferenceTest, OwnsNothingAtFirst) {
  const StringReference none;
  EXPECT_FALSE(none);
  EXPECT_EQ(none.get(), nil);
}

TEST(ScopedReferenceTest, AdoptsTheCallersReference) {
  NSMutableString* const string = [[NSMutableString alloc] init];
  [string retain];
  StringReference::adopting(string);
  EXPECT_EQ([string retainCount], 1U);
  [string release];
}

TEST(ScopedReferenceTest, RetainsAReferenceOfItsOwn) {
  NSMutableString* const string = [[NSMutableString alloc] init];
  {
    const auto reference = StringReference::retaining(string);
    EXPECT_EQ([string retainCount], 2U);
    EXPECT_EQ(reference.get(), string);
  }
  EXPECT_EQ([string retainCount], 1U);
  [string release];
}

TEST(ScopedReferenceTest, HandsItsReferenceOnWhenItIsMoved) {
  NSMutableString* const string = [[NSMutableString alloc] init];
  auto first = StringReference::retaining(string);
  StringReference second(std::move(first));
  StringReference third;
  third = std::move(second);
  EXPECT_EQ(third.get(), string);
  EXPECT_EQ([string retainCount], 2U);
  third = StringReference();
  [string release];
}

TEST(ScopedReferenceTest, CopiesABlockOffTheStackAndReleasesIt) {
  const long before = liveBlocks();
  {
    const auto block = blockWith(7);
    EXPECT_EQ(liveBlocks(), before + 1);
    EXPECT_EQ(block.get()(), 7);
  }
  EXPECT_EQ(liveBlocks(), before);
}

TEST(ScopedReferenceDeathTest, ReceivesOnlyWhileItIsEmpty) {
  auto reference = StringReference::adopting([[NSMutableString alloc] init]);
  EXPECT_DEBUG_DEATH(*reference.receive() = reference.get(), "reference_ == nullptr");
}
}  // namespace
}  // namespace blindfold
