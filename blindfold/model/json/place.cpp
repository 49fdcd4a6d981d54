#include "blindfold/model/json/place.h"

#include "blindfold/model/json/excerpt.h"

namespace blindfold {

namespace {

void appendStep(std::string& path, std::string_view name) {
  if (!path.empty()) path += '.';
  path += name;
}

void appendStep(std::string& path, std::size_t index) {
  path += '[' + std::to_string(index) + ']';
}

void appendStep(std::string& path, const JSONString& key) {
  path += '[' + excerpt(key) + ']';
}

}  // namespace

std::string Place::description() const {
  if (outer_ == nullptr) return "the document";
  std::string path;
  appendTo(path);
  return path;
}

void Place::appendTo(std::string& path) const {
  if (outer_ == nullptr) return;
  outer_->appendTo(path);
  std::visit([&](const auto& step) { appendStep(path, step); }, step_);
}

}  // namespace blindfold
