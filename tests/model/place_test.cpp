#include "blindfold/model/json/place.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(PlaceTest, TheOutermostIsTheDocument) {
  EXPECT_EQ(Place().description(), "the document");
}

TEST(PlaceTest, AFieldIsNamed) {
  const Place document;
  EXPECT_EQ(Place(document, "mode").description(), "mode");
}

TEST(PlaceTest, StepsAreToldFromTheOutsideIn) {
  const Place document;
  const Place holdState(document, "holdState");
  const Place heldTargets(holdState, "heldTargets");
  const Place second(heldTargets, 1);
  EXPECT_EQ(Place(second, "pid").description(), "holdState.heldTargets[1].pid");
}

TEST(PlaceTest, AKeyIsToldAsItIsSpelled) {
  const Place document;
  const Place snapshot(document, "correlationSnapshot");
  const JSONString key{R"(a.b\"\n)"};
  EXPECT_EQ(Place(snapshot, key).description(), R"(correlationSnapshot["a.b\"\n"])");
}

TEST(PlaceTest, ALongKeyIsCut) {
  const std::string content(1'000'000, 'k');
  const Place document;
  const Place snapshot(document, "correlationSnapshot");
  EXPECT_LT(Place(snapshot, JSONString{content}).description().size(), 100U);
}

}  // namespace
}  // namespace blindfold
