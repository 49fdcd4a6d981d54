#import <Foundation/Foundation.h>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/macos/platform_call.h"

namespace blindfold {
namespace {
std::optional<FileType> fileTypeOf(id type) {
  if (![type isKindOfClass:[NSString class]]) return std::nullopt;
  if ([type isEqual:NSFileTypeRegular]) return FileType::regular;
  if ([type isEqual:NSFileTypeDirectory]) return FileType::directory;
  if ([type isEqual:NSFileTypeSymbolicLink]) return FileType::symbolicLink;
  return FileType::other;
}

std::optional<std::uint64_t> permissionsOf(id permissions) {
  if (![permissions isKindOfClass:[NSNumber class]]) return std::nullopt;
  return [static_cast<NSNumber*>(permissions) unsignedLongLongValue];
}
}  // namespace

bool FoundationFileManager::isExecutableFile(const std::string& path) const {
  return askPlatform([&]() -> bool {
    NSString* const item = pathStringOf(path);
    return item != nil && [[NSFileManager defaultManager] isExecutableFileAtPath:item];
  });
}

std::optional<FileAttributes> FoundationFileManager::attributesOfItem(
    const std::string& path) const {
  return askPlatform([&]() -> std::optional<FileAttributes> {
    NSString* const item = pathStringOf(path);
    if (item == nil) return std::nullopt;
    NSDictionary* const attributes =
        [[NSFileManager defaultManager] attributesOfItemAtPath:item error:nullptr];
    if (attributes == nil) return std::nullopt;
    return FileAttributes{
        .type = fileTypeOf([attributes objectForKey:NSFileType]),
        .posixPermissions = permissionsOf([attributes objectForKey:NSFilePosixPermissions]),
    };
  });
}

std::string FoundationFileManager::currentDirectoryPath() const {
  const std::string path =
      askPlatform([] { return textOf([[NSFileManager defaultManager] currentDirectoryPath]); });
  return path.starts_with('/') ? path : "/";
}

}  // namespace blindfold
