#include "blindfold/platform/macos/conversion.h"

#include <utility>

namespace blindfold {
namespace {
std::optional<std::string> textIfString(id value) {
  if (![value isKindOfClass:[NSString class]]) return std::nullopt;
  return textOf(static_cast<NSString*>(value));
}

ValueArray valueArrayOf(NSArray* array) {
  const NSUInteger count = [array count];
  ValueArray values;
  values.reserve(count);
  for (NSUInteger index = 0; index < count; ++index) {
    values.push_back(textIfString([array objectAtIndex:index]));
  }
  return values;
}

NSURL* platformURLOf(const FileURL& url, BOOL isDirectory) {
  NSString* const path = pathStringOf(url.path());
  return path == nil ? nil : [NSURL fileURLWithPath:path isDirectory:isDirectory];
}
}  // namespace

Bytes bytesOf(NSData* data) {
  const NSUInteger length = [data length];
  return length == 0 ? Bytes() : Bytes(static_cast<const char*>([data bytes]), length);
}

NSData* dataOf(std::string_view bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

std::string textOf(NSString* string) {
  return bytesOf([string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES]);
}

NSString* stringOf(std::string_view text) {
  return [[[NSString alloc] initWithBytes:text.data()
                                   length:text.size()
                                 encoding:NSUTF8StringEncoding] autorelease];
}

std::optional<DictionaryValue> dictionaryValueOf(id value) {
  if (value == nil) return std::nullopt;
  if (auto text = textIfString(value)) return std::move(*text);
  if ([value isKindOfClass:[NSArray class]]) return valueArrayOf(static_cast<NSArray*>(value));
  return OpaqueValue{};
}

NSString* pathStringOf(std::string_view path) {
  return path.find('\0') == std::string_view::npos ? stringOf(path) : nil;
}

NSURL* directoryURLOf(const FileURL& url) {
  return platformURLOf(url, YES);
}

NSURL* fileURLOf(const FileURL& url) {
  return platformURLOf(url, NO);
}

std::optional<FileURL> urlOf(NSURL* url) {
  const std::string path = textOf([url path]);
  if (!path.starts_with('/')) return std::nullopt;
  return FileURL(path);
}

}  // namespace blindfold
