#pragma once

#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "blindfold/platform/file_manager.h"

namespace blindfold {

/// A file system whose answers are its fields. It remembers what was asked, in order.
class FakeFileManager : public FileManager {
 public:
  std::set<std::string> executables;
  std::map<std::string, FileAttributes> attributesByPath;
  std::string currentDirectory = "/current";
  bool hasMemory = true;  ///< Without it asking for an executable throws.

  bool isExecutableFile(const std::string& path) const override {
    remember(executableQueries_, path);
    if (!hasMemory) throw std::bad_alloc();
    return executables.contains(path);
  }

  std::optional<FileAttributes> attributesOfItem(const std::string& path) const override {
    remember(attributeQueries_, path);
    const auto entry = attributesByPath.find(path);
    if (entry == attributesByPath.end()) return std::nullopt;
    return entry->second;
  }

  std::string currentDirectoryPath() const override {
    const std::lock_guard lock(mutex_);
    ++currentDirectoryQueries_;
    return currentDirectory;
  }

  std::vector<std::string> executableQueries() const { return copyOf(executableQueries_); }
  std::vector<std::string> attributeQueries() const { return copyOf(attributeQueries_); }

  int currentDirectoryQueries() const {
    const std::lock_guard lock(mutex_);
    return currentDirectoryQueries_;
  }

 private:
  using Queries = std::vector<std::string>;

  void remember(Queries& queries, const std::string& path) const {
    const std::lock_guard lock(mutex_);
    queries.push_back(path);
  }

  Queries copyOf(const Queries& queries) const {
    const std::lock_guard lock(mutex_);
    return queries;
  }

  mutable std::mutex mutex_;
  mutable Queries executableQueries_;
  mutable Queries attributeQueries_;
  mutable int currentDirectoryQueries_ = 0;
};

}  // namespace blindfold
