#include "tests/support/temporary_directory.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace blindfold {

TemporaryDirectory::TemporaryDirectory()
    : TemporaryDirectory(
          std::filesystem::canonical(std::filesystem::temp_directory_path()).string()) {}

TemporaryDirectory::TemporaryDirectory(const std::string& parent)
    : path_(parent + "/blindfold-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace blindfold
