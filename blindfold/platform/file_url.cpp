#include "blindfold/platform/file_url.h"

#include <cassert>

#include "blindfold/platform/file_manager.h"

namespace blindfold {
namespace {
std::string withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return std::string(path);
}
}  // namespace

FileURL::FileURL(std::string_view absolutePath) : path_(withoutTrailingSlashes(absolutePath)) {
  assert(absolutePath.starts_with('/'));
}

FileURL FileURL::appendingPathComponent(std::string_view component) const {
  std::string path = path_;
  if (!path.ends_with('/')) path += '/';
  path += component;
  return FileURL(path);
}

FileURL FileURL::deletingLastPathComponent() const {
  const std::string_view path = path_;
  const auto slash = path.rfind('/');
  return FileURL(slash == 0 ? path.substr(0, 1) : path.substr(0, slash));
}

std::string_view FileURL::lastPathComponent() const {
  const std::string_view path = path_;
  if (path == "/") return path;
  return path.substr(path.rfind('/') + 1);
}

std::string_view FileURL::pathExtension() const {
  const std::string_view name = lastPathComponent();
  const auto stop = name.rfind('.');
  if (stop == std::string_view::npos || stop == 0) return {};
  return name.substr(stop + 1);
}

FileURL fileURLWithPath(std::string_view path, const FileManager& fileManager) {
  if (path.starts_with('/')) return FileURL(path);
  return FileURL(fileManager.currentDirectoryPath()).appendingPathComponent(path);
}

}  // namespace blindfold
