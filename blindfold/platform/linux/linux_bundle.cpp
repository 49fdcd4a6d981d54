#include "blindfold/platform/linux/linux_bundle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "blindfold/platform/linux/property_list.h"
#include "blindfold/platform/posix/file_descriptor.h"

/// The symbols of cmake/information_property_list.cpp.in. Without it they are null.
extern "C" {
[[gnu::weak]] extern const char blindfoldInformationPropertyList[];
[[gnu::weak]] extern const char blindfoldInformationPropertyListEnd[];
}

namespace blindfold {
namespace {
/// The contents of the bundle's information property list; empty when it is no regular file, cannot
/// be read or is too long. Never waits: a FIFO without a writer opens at once.
std::string readInfoFile(const FileDescriptor& bundleDirectory) {
  const FileDescriptor file(openat(bundleDirectory.get(), "Contents/Info.plist",
                                   O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status{};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return readToEnd(file, maximumInfoFileSize).value_or("");
}

FileDescriptor openDirectory(const FileURL& url) {
  return FileDescriptor(open(url.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// The answers that come from the info dictionary.
class InfoBundle : public Bundle {
 public:
  std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const override {
    return valueForKey(infoDictionary(), key);
  }

  std::optional<std::string> bundleIdentifier() const override {
    return textForKey("CFBundleIdentifier");
  }

 protected:
  std::optional<std::string> textForKey(std::string_view key) const {
    const auto value = objectForInfoDictionaryKey(key);
    const std::string* const text = textOf(value);
    return text == nullptr ? std::nullopt : std::optional(*text);
  }

 private:
  virtual const InfoDictionary& infoDictionary() const = 0;
};

class MainBundle final : public InfoBundle {
 public:
  FileURL bundleURL() const override {
    const auto executable = executableURL();
    return executable ? bundleURLOfExecutable(*executable) : FileURL("/");
  }

  std::optional<FileURL> executableURL() const override {
    std::array<char, PATH_MAX> path;
    const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
    if (size < 0) return std::nullopt;
    return FileURL(std::string_view(path.data(), static_cast<std::size_t>(size)));
  }

 private:
  const InfoDictionary& infoDictionary() const override {
    // Never destroyed: other threads may read it while the process exits.
    static const InfoDictionary& dictionary =
        *std::make_unique<InfoDictionary>(parsePropertyList(propertyList())).release();
    return dictionary;
  }

  /// The text that the dictionary refers to. Called once.
  std::string_view propertyList() const {
    const std::string_view linked = linkedPropertyList();
    if (!linked.empty()) return linked;
    const FileDescriptor directory = openDirectory(bundleURL());
    if (!directory) return {};
    static const std::string& contents =
        *std::make_unique<std::string>(readInfoFile(directory)).release();
    return contents;
  }
};

class DirectoryBundle final : public InfoBundle {
 public:
  DirectoryBundle(FileURL url, std::string propertyList)
      : url_(std::move(url)),
        propertyList_(std::move(propertyList)),
        infoDictionary_(parsePropertyList(propertyList_)) {}

  FileURL bundleURL() const override { return url_; }

  std::optional<FileURL> executableURL() const override {
    const auto name = textForKey("CFBundleExecutable");
    if (!name || name->find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
      return std::nullopt;
    }
    const FileURL url = url_.appendingPathComponent("Contents")
                            .appendingPathComponent("MacOS")
                            .appendingPathComponent(*name);
    struct stat status{};
    const bool isThere = stat(url.path().c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isThere ? std::optional(url) : std::nullopt;
  }

 private:
  const InfoDictionary& infoDictionary() const override { return infoDictionary_; }

  const FileURL url_;
  const std::string propertyList_;
  const InfoDictionary infoDictionary_;
};
}  // namespace

std::string_view linkedPropertyList() {
  const char* const begin = blindfoldInformationPropertyList;
  const char* const end = blindfoldInformationPropertyListEnd;
  return {begin, static_cast<std::size_t>(end - begin)};
}

FileURL bundleURLOfExecutable(const FileURL& executableURL) {
  const FileURL directory = executableURL.deletingLastPathComponent();
  const FileURL contents = directory.deletingLastPathComponent();
  FileURL app = contents.deletingLastPathComponent();
  const bool isInApp = directory.lastPathComponent() == "MacOS" &&
                       contents.lastPathComponent() == "Contents" && app.pathExtension() == "app";
  return isInApp ? app : directory;
}

LinuxBundleProvider::LinuxBundleProvider() : mainBundle_(std::make_unique<MainBundle>()) {}

std::unique_ptr<Bundle> LinuxBundleProvider::bundleWithURL(const FileURL& url) const {
  if (url.path().find('\0') != std::string::npos) return nullptr;
  const FileDescriptor directory = openDirectory(url);
  if (!directory) return nullptr;
  return std::make_unique<DirectoryBundle>(url, readInfoFile(directory));
}

}  // namespace blindfold
