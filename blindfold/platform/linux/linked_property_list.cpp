#include "blindfold/platform/linux/linked_property_list.h"

#include <cstddef>

// The symbols of cmake/information_property_list.cpp.in. Without it they are null.
extern "C" {
[[gnu::weak]] extern const char blindfoldInformationPropertyList[];
[[gnu::weak]] extern const char blindfoldInformationPropertyListEnd[];
}

namespace blindfold {

std::string_view linkedPropertyList() {
  const char* const begin = blindfoldInformationPropertyList;
  const char* const end = blindfoldInformationPropertyListEnd;
  return {begin, static_cast<std::size_t>(end - begin)};
}

}  // namespace blindfold
