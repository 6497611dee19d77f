#include "base/uuid.h"

#include <cstdint>
#include <random>

namespace revwarden {
namespace {

// std::random_device can take tens of microseconds per word, so it only seeds the generator.
std::mt19937_64 seededGenerator() {
  std::random_device source;
  std::seed_seq seed{source(), source(), source(), source(),
                     source(), source(), source(), source()};
  return std::mt19937_64(seed);
}

}  // namespace

std::string stringWithUUID() {
  thread_local std::mt19937_64 random = seededGenerator();
  std::string text;
  text.reserve(36);
  uint64_t bits = 0;
  for (int digit = 0; digit < 32; ++digit) {
    if (digit % 16 == 0) bits = random();
    if (digit == 8 || digit == 12 || digit == 16 || digit == 20) text += '-';
    uint64_t nibble = bits & 0xF;
    bits >>= 4;
    if (digit == 12) nibble = 4;                   // the version
    if (digit == 16) nibble = 8 | (nibble & 0x3);  // the variant
    text += "0123456789ABCDEF"[nibble];
  }
  return text;
}

}  // namespace revwarden
