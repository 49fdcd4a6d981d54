#pragma once

#include <filesystem>
#include <string>
#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <array>
#include <climits>
#include <cstdint>
#endif

namespace blindfold {

/// The path of the program that runs, without symbolic links.
inline std::string ownExecutablePath() {
#ifdef __APPLE__
  std::array<char, PATH_MAX> path{};
  std::uint32_t size = path.size();
  if (_NSGetExecutablePath(path.data(), &size) != 0) return "";
  return std::filesystem::canonical(path.data()).string();
#else
  return std::filesystem::read_symlink("/proc/self/exe").string();
#endif
}

}  // namespace blindfold
