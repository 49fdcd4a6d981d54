#include "blindfold/platform/macos/conversion.h"

#include <gtest/gtest.h>
#import <objc/runtime.h>

namespace blindfold {
namespace {
#ifdef GNUSTEP
/// A path as macOS passes it to the file system: decomposed.
const char* decomposed(id string, SEL) {
  return [[string decomposedStringWithCanonicalMapping] UTF8String];
}

/// While it lives, strings have the file system's representation that macOS gives them.
class DecomposingFileSystem {
 public:
  DecomposingFileSystem()
      : before_(replaceWith(reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(decomposed)))) {}
  DecomposingFileSystem(const DecomposingFileSystem&) = delete;
  DecomposingFileSystem& operator=(const DecomposingFileSystem&) = delete;
  ~DecomposingFileSystem() { replaceWith(before_); }

 private:
  static IMP replaceWith(IMP method) {
    return method_setImplementation(
        class_getInstanceMethod([NSString class], @selector(fileSystemRepresentation)), method);
  }

  IMP before_;
};

TEST(ConversionTest, TheFileSystemOfTheseTestsDecomposes) {
  @autoreleasepool {
    const DecomposingFileSystem macOS;
    EXPECT_STREQ([stringOf("/Caf\u00e9") fileSystemRepresentation], "/Cafe\u0301");
  }
}
#else
struct [[maybe_unused]] DecomposingFileSystem {};
#endif

TEST(ConversionTest, APathKeepsItsSpelling) {
  @autoreleasepool {
    const DecomposingFileSystem macOS;
    const FileURL composed("/Applications/Caf\u00e9.app");
    EXPECT_EQ(urlOf(fileURLOf(composed)), composed);
    EXPECT_EQ(urlOf(directoryURLOf(composed)), composed);
    EXPECT_EQ(textOf(pathStringOf(composed.path())), composed.path());
  }
}

TEST(ConversionTest, APathThatIsNotTextNamesNothing) {
  @autoreleasepool {
    EXPECT_EQ(pathStringOf("/\xff"), nil);
    EXPECT_EQ(fileURLOf(FileURL("/\xff")), nil);
    EXPECT_EQ(pathStringOf(std::string_view("/a\0b", 4)), nil);
  }
}

TEST(ConversionTest, AURLWithoutAnAbsolutePathIsNoFile) {
  @autoreleasepool {
    EXPECT_EQ(urlOf(nil), std::nullopt);
    // The cross-build declares what the programs use, and so not this method.
    NSURL* const url = [NSURL performSelector:@selector(URLWithString:)
                                   withObject:stringOf("data:,text")];
    ASSERT_NE(url, nil);
    EXPECT_EQ(urlOf(url), std::nullopt);
  }
}

TEST(ConversionTest, TextAndBytesMayBeAbsentOrEmpty) {
  @autoreleasepool {
    EXPECT_EQ(textOf(nil), "");
    EXPECT_EQ(textOf(stringOf("")), "");
    EXPECT_EQ(bytesOf(nil), "");
    EXPECT_EQ(bytesOf(dataOf("")), "");
  }
}

TEST(ConversionTest, TextMayHoldANUL) {
  @autoreleasepool {
    const std::string text("a\0\u00e9\U0001f600", 8);
    EXPECT_EQ(textOf(stringOf(text)), text);
  }
}
}  // namespace
}  // namespace blindfold
