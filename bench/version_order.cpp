// Checks the order of versions against real upgrades.
//
// Reads a file with one upgrade a line (old version, tab, new version). Prints how many lines
// ascend, are equal and descend, for the even lines, the odd lines and all. --list also prints
// every line that does not ascend.

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "ports/posix/natural_versions.h"

namespace revwarden {
namespace {

struct Tally {
  std::array<size_t, 4> counts{};  // ascending, equal, descending, no versions

  void print(const char* name) const {
    const size_t all = counts[0] + counts[1] + counts[2] + counts[3];
    std::printf("%-5s %6zu lines  %7.3f %% ascending", name, all,
                all == 0 ? 0.0 : 100.0 * static_cast<double>(counts[0]) / static_cast<double>(all));
    std::printf("  (%zu ascending, %zu equal, %zu descending, %zu without versions)\n", counts[0],
                counts[1], counts[2], counts[3]);
  }
};

size_t outcomeOf(const std::string& line) {
  const NaturalVersions versions;
  const size_t tab = line.find('\t');
  if (tab == std::string::npos) return 3;
  const Value installed(line.substr(0, tab));
  const Value replacement(line.substr(tab + 1));
  const auto from = versions.versionWithValue(&installed);
  const auto to = versions.versionWithValue(&replacement);
  if (!from || !to) return 3;
  const auto order = from->compare(*to);
  return order < 0 ? 0 : order == 0 ? 1 : 2;
}

int run(const char* path, bool list) {
  std::ifstream file(path);
  if (!file) {
    std::cerr << "cannot read " << path << "\n";
    return 1;
  }
  std::array<Tally, 2> halves;
  Tally all;
  std::string line;
  for (size_t number = 1; std::getline(file, line); ++number) {
    const size_t outcome = outcomeOf(line);
    ++halves[number % 2].counts[outcome];
    ++all.counts[outcome];
    if (list && outcome != 0) std::cout << number << ": " << line << "\n";
  }
  std::cout.flush();
  halves[0].print("even");
  halves[1].print("odd");
  all.print("all");
  return 0;
}

}  // namespace
}  // namespace revwarden

int main(int argc, char** argv) {
  const bool list = argc == 3 && std::strcmp(argv[1], "--list") == 0;
  if (argc != 2 && !list) {
    std::cerr << "usage: version_order [--list] FILE\n";
    return 2;
  }
  return revwarden::run(argv[argc - 1], list);
}
