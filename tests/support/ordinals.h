#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

namespace blindfold {

/// Expects the cases of an enumeration to be numbered 0, 1, 2 and so on.
template <class Case>
void expectOrdinals(std::initializer_list<Case> cases) {
  int ordinal = 0;
  for (const Case each : cases) EXPECT_EQ(static_cast<int>(each), ordinal++);
}

}  // namespace blindfold
