// Reads property lists from standard input, each after its size in 8 bytes. Writes each as XML, or
// nothing if it is refused, and a null character.
#include <iostream>

#include "ports/linux/property_lists/property_list.h"

int main() {
  uint64_t size = 0;
  while (std::cin.read(reinterpret_cast<char*>(&size), sizeof size)) {
    std::string list(size, '\0');
    std::cin.read(list.data(), static_cast<std::streamsize>(size));
    const auto value = revwarden::readPropertyList(list);
    std::cout << (value ? revwarden::writeXmlPropertyList(*value) : "") << '\0';
  }
}
