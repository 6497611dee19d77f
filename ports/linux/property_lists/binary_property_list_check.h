#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace revwarden {

/// Tells whether libplist can be trusted with a binary property list. It neither bounds the nesting
/// nor what objects that are referred to many times unfold to, and it believes what it reads. So
/// this makes sure that every object that the root reaches lies whole within the list, has a known
/// type, and that none contains itself. One thread at a time; keeps its memory for the next list.
class BinaryPropertyListCheck {
 public:
  bool isSound(std::string_view bytes, size_t maxDepth);

 private:
  enum class State : uint8_t { unseen, open, sound };

  // What an object unfolds to, with all that it holds.
  struct Extent {
    uint32_t objects = 1;
    uint32_t bytes = 0;
    uint32_t height = 1;
    State state = State::unseen;
  };
  using ExtentOrNone = std::optional<Extent>;

  uint64_t numberAt(size_t position, size_t size) const;
  size_t offsetOf(uint64_t object) const;
  bool readTrailer();
  bool visit(uint64_t object, size_t depth);
  ExtentOrNone examine(uint64_t object, size_t depth);
  bool fits(size_t position, uint64_t size) const;
  std::optional<uint64_t> length(size_t& position, unsigned info) const;
  ExtentOrNone whole(size_t position, uint64_t size, bool isKnown) const;
  ExtentOrNone sized(size_t position, unsigned info, size_t unit, size_t growth) const;
  ExtentOrNone text(size_t position, unsigned info, size_t unit) const;
  ExtentOrNone container(size_t position, unsigned info, size_t depth, bool isDictionary);
  bool isText(uint64_t object) const;

  std::string_view bytes_;
  size_t maxDepth_ = 0;
  size_t offsetSize_ = 0;
  size_t referenceSize_ = 0;
  uint64_t objectCount_ = 0;
  uint64_t topObject_ = 0;
  uint64_t tableStart_ = 0;
  std::vector<Extent> known_;  // by object
};

}  // namespace revwarden
