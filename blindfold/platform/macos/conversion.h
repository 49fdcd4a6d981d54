#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"
#include "blindfold/platform/helper_connection.h"

namespace blindfold {

// Conversions between this program's values and Foundation's. Returned objects are autoreleased:
// every call stands inside an autorelease pool. Any thread may call.

/// The bytes of `data`; empty when it is nil.
Bytes bytesOf(NSData* _Nullable data);

/// The data with these bytes.
NSData* _Nonnull dataOf(std::string_view bytes);

/// The text of `string` in UTF-8; empty when it is nil.
std::string textOf(NSString* _Nullable string);

/// The string with this UTF-8 text, or nil when it is not UTF-8.
NSString* _Nullable stringOf(std::string_view text);

/// `value` as far as this program reads it, or `std::nullopt` when it is nil. The elements of an
/// array are converted, those of a dictionary are not.
std::optional<DictionaryValue> dictionaryValueOf(id _Nullable value);

// Paths are converted as texts, never by `fileSystemRepresentation`, which decomposes characters:
// "é" of a setting would not be equal to "é" of a path. Foundation itself converts a path where it
// calls the file system.

/// The platform's string for `path`, or nil when its bytes are not UTF-8 or hold a NUL.
NSString* _Nullable pathStringOf(std::string_view path);

/// The platform's URL for `url`, or nil when `pathStringOf` its path is. Foundation's file URLs say
/// whether they name a directory.
NSURL* _Nullable directoryURLOf(const FileURL& url);
NSURL* _Nullable fileURLOf(const FileURL& url);

/// The URL for the platform's file URL, or `std::nullopt` when it is nil or has no absolute path.
std::optional<FileURL> urlOf(NSURL* _Nullable url);

}  // namespace blindfold
