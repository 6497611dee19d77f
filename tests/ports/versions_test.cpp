#include <gtest/gtest.h>

#include <random>

#include "ports/posix/natural_versions.h"

namespace revwarden {
namespace {

constexpr auto kSame = std::weak_ordering::equivalent;

Versions::VersionRef version(const Value& value) {
  return NaturalVersions().versionWithValue(&value);
}

TEST(NaturalVersions, OrdersEachRow) {
  const std::vector<std::vector<std::string>> rows = {
      {"0", "0.0.1", "0.9", "1", "1.9", "1.10", "2", "10"},
      {"2.0-dev.7", "2.0a1", "2.0-alpha.2", "2.0.0b1", "2.0-beta.2", "2.0 Beta 10", "2.0-rc1",
       "2.0-trial", "2.0", "2.0 (100)", "2.0,101", "2.0+102", "2.0.1-pre", "2.0.1"},
      {"2031.10b2", "2031.10b11", "2031.10", "2031.11a1"},
      {"1.0.2", "1.0.2-77", "1.0.2a", "1.0.2b", "1.0.2k", "1.0.2z", "1.0.3"},
      {"7.3-40", "7.3.0-41", "7.3.1-2"},
      {"4.0-12.beta", "4.0.0-13.BETA", "4.0", "4.0-14"},
      {"Beta 3.1", "3.1", "Beta 3.2"},
      {"v1.9.9", "Version 2", "r2.1", "Build 3", "3.0.1"},
      {"2031-01-09", "2031-01-10", "2031-11-01", "2032-01-01"},
      {"9.18446744073709551616", "9.18446744073709551617", "9.100000000000000000000000000000"},
      {"beta", "rc", "0", "tiger", "tiglon"},
      {"5.1", "5.1\u00a0(12)", "5.1 (13)"},
  };
  for (const auto& row : rows) {
    for (const auto& a : row) {
      for (const auto& b : row)
        EXPECT_EQ(version(a)->compare(*version(b)), std::weak_ordering(&a <=> &b)) << a << " " << b;
    }
  }
}

TEST(NaturalVersions, TreatsSpellingsOfOneVersionAsEquivalent) {
  const std::pair<const char*, const char*> pairs[] = {
      {"1", "1.0.0"},       {"1.0b3", "1.0.0-Beta.3"}, {"v2.5", "2.5"},   {"1.05", "1.5"},
      {"3 rc 1", "3.0RC1"}, {"1.2 (34)", "1.2,34"},    {" 1.4\n", "1.4"}, {"1.0.2K", "1.0.2k"}};
  for (const auto& [a, b] : pairs) EXPECT_EQ(version(a)->compare(*version(b)), kSame) << a;
}

// Returns random sequences of texts that the rules treat specially.
std::string hostileText(std::mt19937& random) {
  static const std::vector<std::string> pieces = {
      "0", "9", "10",   ".",  ".",   "-", "_",  " ",      "(", ",",      "+",    "a",
      "B", "b", "beta", "rc", "dev", "v", "kx", "\u00a0", "é", "\u2013", "\xff", "99999999999"};
  std::string text = random() % 2 == 0 ? "" : "1";
  for (size_t count = random() % 7; count > 0; --count) text += pieces[random() % pieces.size()];
  return text;
}

TEST(NaturalVersions, IsATotalOrder) {
  std::mt19937 random(20);
  std::vector<Versions::VersionRef> all;
  while (all.size() < 150)
    if (const auto made = version(hostileText(random))) all.push_back(made);
  for (const auto& a : all) {
    for (const auto& b : all) {
      const auto order = a->compare(*b);
      ASSERT_EQ(b->compare(*a), 0 <=> order) << a->stringRepresentation();
      for (const auto& c : order > 0 ? std::vector<Versions::VersionRef>() : all) {
        ASSERT_TRUE(b->compare(*c) > 0 || a->compare(*c) <= 0)
            << a->stringRepresentation() << " | " << b->stringRepresentation() << " | "
            << c->stringRepresentation();
      }
    }
  }
}

}  // namespace
}  // namespace revwarden
