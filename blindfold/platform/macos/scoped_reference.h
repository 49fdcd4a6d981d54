#pragma once

#import <Block.h>
#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <cassert>
#include <utility>

namespace blindfold {

/// Owns one counted reference, or none, and releases it at the end of its life. `Traits` has the
/// functions that take and release a reference of this kind.
template <class Reference, class Traits>
class ScopedReference {
 public:
  ScopedReference() = default;

  /// Takes over a reference that the caller owns; null for none.
  static ScopedReference adopting(Reference owned) { return ScopedReference(owned); }

  /// Takes a reference of its own; null for none.
  static ScopedReference retaining(Reference borrowed) {
    return ScopedReference(Traits::retain(borrowed));
  }

  ScopedReference(ScopedReference&& other) noexcept
      : reference_(std::exchange(other.reference_, nullptr)) {}
  ScopedReference& operator=(ScopedReference&& other) noexcept {
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~ScopedReference() {
    if (reference_ != nullptr) Traits::release(reference_);
  }

  Reference get() const { return reference_; }
  explicit operator bool() const { return reference_ != nullptr; }

  /// The address at which a function stores the reference that it hands out. Owns none before.
  Reference* receive() {
    assert(reference_ == nullptr);
    return &reference_;
  }

 private:
  explicit ScopedReference(Reference owned) : reference_(owned) {}

  Reference reference_ = nullptr;
};

/// References handed out by functions with "Create" or "Copy" in their names.
struct CoreFoundationTraits {
  static void release(CFTypeRef reference) { CFRelease(reference); }
};

/// Objects of classes, whose pointer types `id` stands for too.
struct ObjectTraits {
  template <class Object>
  static Object retain(Object object) {
    return [static_cast<id>(object) retain];
  }

  /// Drains what a deallocated object autoreleases.
  static void release(id object) {
    @autoreleasepool {
      [object release];
    }
  }
};

/// Blocks on the heap: retaining one that is on the stack copies it.
struct BlockTraits {
  template <class Block>
  static Block retain(Block block) {
    return Block_copy(block);
  }

  template <class Block>
  static void release(Block block) {
    Block_release(block);
  }
};

template <class Reference>
using CoreFoundationReference = ScopedReference<Reference, CoreFoundationTraits>;

template <class Object>
using ObjectReference = ScopedReference<Object, ObjectTraits>;

template <class Block>
using BlockReference = ScopedReference<Block, BlockTraits>;

}  // namespace blindfold
