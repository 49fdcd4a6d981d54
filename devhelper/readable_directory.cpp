#include "devhelper/readable_directory.h"

#include <sys/stat.h>

#include <cerrno>

#include "devhelper/quoted.h"
#include "devhelper/system_failure.h"

namespace blindfold {
namespace {

constexpr mode_t readableMode = 0755;

}  // namespace

void makeReadableDirectory(const std::string& path) {
  if (mkdir(path.c_str(), readableMode) == 0) {
    // The mask may have taken from the mode what other users need.
    if (chmod(path.c_str(), readableMode) == 0) return;
  } else if (errno == EEXIST) {
    return;
  }
  throw systemFailure("cannot make the directory " + quotedPath(path));
}

}  // namespace blindfold
