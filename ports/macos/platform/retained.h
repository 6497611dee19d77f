#pragma once

#import <Foundation/Foundation.h>

#include <utility>

namespace revwarden {

/// Owns a reference to an Objective-C object, which may be nil. Each copy retains it.
class Retained {
 public:
  explicit Retained(id object) : object_([object retain]) {}
  Retained(const Retained& other) : object_([other.object_ retain]) {}
  Retained& operator=(Retained other) {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Retained() { [object_ release]; }

  /// Returns the object, which stays owned by this one.
  id get() const { return object_; }

 private:
  id object_;
};

/// An autorelease pool for one scope. Every operation of the platform that autoreleases objects has
/// one, because a thread that stays in C++ would otherwise accumulate them.
class AutoreleasePool {
 public:
  AutoreleasePool() : pool_([[NSAutoreleasePool alloc] init]) {}
  AutoreleasePool(const AutoreleasePool&) = delete;
  AutoreleasePool& operator=(const AutoreleasePool&) = delete;
  ~AutoreleasePool() { [pool_ drain]; }

 private:
  NSAutoreleasePool* const pool_;
};

}  // namespace revwarden
