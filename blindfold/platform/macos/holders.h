#pragma once

#import <Block.h>
#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <utility>

namespace blindfold {

/// Owns one reference to a Core Foundation object, or none, and releases it in the end. Made from
/// what a function with "Create" or "Copy" in its name hands out.
template <typename Reference>
class CFHolder {
 public:
  CFHolder() = default;
  explicit CFHolder(Reference owned) : reference_(owned) {}
  CFHolder(CFHolder&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
  CFHolder& operator=(CFHolder&& other) noexcept {
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~CFHolder() {
    if (reference_ != nullptr) CFRelease(reference_);
  }

  Reference get() const { return reference_; }
  explicit operator bool() const { return reference_ != nullptr; }

  /// Where a function puts the reference that it hands out. The holder must be empty.
  Reference* receive() { return &reference_; }

 private:
  Reference reference_ = nullptr;
};

/// Owns one reference to an Objective-C object, or none, and releases it in the end. `Object` is a
/// pointer type or `id`.
template <typename Object>
class ObjectHolder {
 public:
  /// Takes over the reference that `alloc` made.
  static ObjectHolder adopting(Object object) { return ObjectHolder(object); }

  /// Takes a reference of its own.
  static ObjectHolder retaining(Object object) { return ObjectHolder([object retain]); }

  ObjectHolder(ObjectHolder&& other) noexcept : object_(std::exchange(other.object_, nil)) {}
  ObjectHolder& operator=(ObjectHolder&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ObjectHolder() {
    if (object_ == nil) return;
    // An object that goes away may autorelease others.
    @autoreleasepool {
      [object_ release];
    }
  }

  Object get() const { return object_; }
  explicit operator bool() const { return object_ != nil; }

 private:
  explicit ObjectHolder(Object object) : object_(object) {}

  Object object_;
};

/// Owns one reference to a block on the heap and releases it in the end.
template <typename Block>
class BlockHolder {
 public:
  /// Takes over a reference that the platform handed out.
  static BlockHolder adopting(Block block) { return BlockHolder(block); }

  /// Copies `block` off the stack.
  static BlockHolder copying(Block block) { return BlockHolder(Block_copy(block)); }

  BlockHolder(BlockHolder&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  BlockHolder& operator=(BlockHolder&& other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~BlockHolder() {
    if (block_ != nullptr) Block_release(block_);
  }

  Block get() const { return block_; }

 private:
  explicit BlockHolder(Block block) : block_(block) {}

  Block block_;
};

}  // namespace blindfold
