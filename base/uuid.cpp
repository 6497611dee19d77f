#include "base/uuid.h"

#include <cstdint>
#include <random>

namespace revwarden {

std::string stringWithUUID() {
  thread_local std::random_device random;
  std::string text;
  text.reserve(36);
  uint32_t bits = 0;
  for (int digit = 0; digit < 32; ++digit) {
    if (digit % 8 == 0) bits = random();
    if (digit == 8 || digit == 12 || digit == 16 || digit == 20) text += '-';
    uint32_t nibble = bits & 0xF;
    bits >>= 4;
    if (digit == 12) nibble = 4;                   // the version
    if (digit == 16) nibble = 8 | (nibble & 0x3);  // the variant
    text += "0123456789ABCDEF"[nibble];
  }
  return text;
}

}  // namespace revwarden
