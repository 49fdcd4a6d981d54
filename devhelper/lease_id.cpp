#include "devhelper/lease_id.h"

#include <random>
#include <string_view>

namespace blindfold {

std::string makeLeaseID() {
  // RFC 9562, version 4: x is any digit, y carries the variant in its two upper bits.
  constexpr std::string_view pattern = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::random_device source;
  std::uniform_int_distribution<std::size_t> distribution(0, digits.size() - 1);
  std::string id(pattern);
  for (char& place : id) {
    if (place == 'x') place = digits[distribution(source)];
    if (place == 'y') place = digits[8 + distribution(source) % 4];
  }
  return id;
}

}  // namespace blindfold
