#include "blindfold/config/white_space.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace blindfold {
namespace {

// The characters, each as its UTF-8 bytes. No character's bytes end those of another, so comparing
// bytes at either end of a text finds whole characters only.
constexpr std::array<std::string_view, 26> whiteSpaceCharacters{
    " ",      "\t",     "\n",     "\v",     "\f",     "\r",     "\u0085", "\u00A0", "\u1680",
    "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
    "\u2009", "\u200A", "\u200B", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000",
};

// The number of bytes of the white-space character for which `matches` holds, or 0.
template <typename Predicate>
std::size_t sizeOfMatch(const Predicate& matches) {
  const auto found =
      std::find_if(whiteSpaceCharacters.begin(), whiteSpaceCharacters.end(), matches);
  return found == whiteSpaceCharacters.end() ? 0 : found->size();
}

}  // namespace

std::string_view trimmingWhiteSpace(std::string_view text) {
  while (const auto size = sizeOfMatch([&](auto each) { return text.starts_with(each); })) {
    text.remove_prefix(size);
  }
  while (const auto size = sizeOfMatch([&](auto each) { return text.ends_with(each); })) {
    text.remove_suffix(size);
  }
  return text;
}

}  // namespace blindfold
