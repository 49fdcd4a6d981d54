#include "devhelper/quoted.h"

#include "blindfold/text/one_line.h"

namespace blindfold {
namespace {

std::string betweenMarks(std::string line) {
  return line.insert(0, 1, '\'').append(1, '\'');
}

}  // namespace

std::string quoted(std::string_view word) {
  return betweenMarks(oneLineExcerpt(word, maximumQuotation));
}

std::string quotedPath(std::string_view path) {
  return betweenMarks(oneLine(path));
}

}  // namespace blindfold
