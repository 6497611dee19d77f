#pragma once

#import <Foundation/Foundation.h>

#include <utility>

namespace revwarden {

/// Holds an Objective-C object for C++ objects: retains it once for each copy. nil is allowed.
class Retained {
 public:
  explicit Retained(id object) : object_([object retain]) {}
  Retained(const Retained& other) : object_([other.object_ retain]) {}
  Retained& operator=(Retained other) {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Retained() { [object_ release]; }

  id get() const { return object_; }

 private:
  id object_;
};

/// An autorelease pool for the length of a block. An operation of the platform that leaves objects
/// behind has its own: a thread that stays in C++ for long would hoard them.
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
