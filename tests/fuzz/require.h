#pragma once

#include <cstdio>
#include <cstdlib>

namespace blindfold {

/// Ends the fuzzer, which then keeps its input, when what `statement` says is not so.
inline void require(bool condition, const char* statement) {
  if (condition) return;
  std::fprintf(stderr, "not so: %s\n", statement);
  std::abort();
}

}  // namespace blindfold
