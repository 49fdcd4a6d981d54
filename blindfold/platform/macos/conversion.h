#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"
#include "blindfold/platform/helper_connection.h"

// Between this program's values and Foundation's. Objects that are handed out are autoreleased, so
// that every call stands inside a pool. Any thread may call.

namespace blindfold {

/// The bytes of `data`; none when it is nil.
Bytes bytesOf(NSData* data);

/// The data with these bytes.
NSData* dataOf(std::string_view bytes);

/// The text of `string` in UTF-8; empty when it is nil.
std::string textOf(NSString* string);

/// The string with this UTF-8 text, or nil when it is not UTF-8.
NSString* stringOf(std::string_view text);

/// `value` as far as this program reads it, or nothing when it is nil. An array's elements are
/// looked at, a dictionary's are not.
std::optional<DictionaryValue> dictionaryValueOf(id value);

/// The platform's string for a path of the file system's bytes, or nil when these bytes cannot name
/// anything.
NSString* pathStringOf(std::string_view path);

/// The file system's bytes for the platform's path, or nothing when there is no path.
std::optional<std::string> pathOf(NSString* path);

/// The platform's URL for `url`, or nil when its bytes cannot name anything. Foundation's file URLs
/// say whether they mean a directory.
NSURL* directoryURLOf(const FileURL& url);
NSURL* fileURLOf(const FileURL& url);

/// The place that the platform's file URL names, or nothing when it is nil or names none.
std::optional<FileURL> placeOf(NSURL* url);

}  // namespace blindfold
