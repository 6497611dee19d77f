#include "ports/linux/property_lists/property_list.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

namespace revwarden {
namespace {

using namespace std::string_literals;

std::string repeated(std::string_view text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

/// A text that tells kinds of numbers apart.
std::string described(const std::optional<Value>& value) {
  return value ? writeXmlPropertyList(*value) : "refused";
}

std::string plist(std::string_view body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + std::string(body) +
         "</plist>\n";
}

TEST(PropertyLists, TolerateDeviationsInXml) {
  const Value expected = Dictionary{{"k", "v"}};
  const std::string body = "<dict><!-- c --><key>k</key>\n<string>v</string></dict>";
  EXPECT_EQ(readPropertyList("\xEF\xBB\xBF" + plist(body)), expected);
  EXPECT_EQ(readPropertyList(" \n" + body), expected);
  EXPECT_EQ(readPropertyList("<dict><key>k</key><string>u</string>" + body.substr(6)), expected);
  EXPECT_EQ(readPropertyList(plist("<integer> +12\n</integer>")), Value(12));
  EXPECT_EQ(readPropertyList(plist("<integer>0xFF</integer>")), Value(255));
  EXPECT_EQ(readPropertyList(plist("<integer>18446744073709551616</integer>")),
            Value(18446744073709551616.0));
  for (const char* base64 : {"\n\tYWJj\n\tZA==\n", "YWJjZA", "YWJjZA===="}) {
    EXPECT_EQ(readPropertyList(plist("<data>"s + base64 + "</data>")), Value(Data{"abcd"}));
  }
}

TEST(PropertyLists, LimitTheDepth) {
  const auto xml = [](size_t n) { return plist(repeated("<array>", n) + repeated("</array>", n)); };
  const auto text = [](size_t n) { return repeated("(", n) + repeated(")", n); };
  EXPECT_TRUE(readPropertyList(xml(128)) && readPropertyList(text(128)));
  EXPECT_FALSE(readPropertyList(xml(129)) || readPropertyList(text(129)));
}

/// `count` as a big-endian number of `size` bytes.
std::string number(uint64_t count, size_t size) {
  std::string bytes;
  while (size-- > 0) bytes += size < 8 ? static_cast<char>(count >> (8 * size)) : '\0';
  return bytes;
}

/// A binary list of the objects, with references and offsets of that size.
std::string binaryList(const std::vector<std::string>& objects, size_t size = 2, size_t root = 0) {
  std::string list = "bplist00", offsets;
  for (const std::string& object : objects) offsets += number(list.size(), size), list += object;
  return list + offsets + number(0, 6) + number(size, 1) + number(size, 1) +
         number(objects.size(), 8) + number(root, 8) + number(list.size(), 8);
}

std::string real(double value) {
  return number(std::bit_cast<uint64_t>(value), 8);
}

TEST(BinaryPropertyLists, MayHaveAnySizesNumbersAndDates) {
  for (size_t size = 1; size <= 8; ++size) {
    const std::string list =
        binaryList({"\xD1" + number(1, size) + number(2, size), "\x51k", "\x09"}, size);
    EXPECT_EQ(described(readPropertyList(list)), described(Dictionary{{"k", true}})) << size;
  }
  for (const auto& [object, value] : std::vector<std::pair<std::string, Value>>{
           {"\x14" + number(0, 8) + number(INT64_MAX, 8), INT64_MAX},
           {"\x14" + number(0, 8) + number(UINT64_MAX, 8), 0x1p64},
           {"\x14" + number(UINT64_MAX, 8) + number(UINT64_MAX - 4, 8), -5},
           {"\x14" + number(1, 8) + number(0, 8), 0x1p64},
           {"\x22\x40\x20\0\0"s, 2.5},
           {"\x82\1\0\0"s, Dictionary{{"CF$UID", 65536}}},
           {"\x87" + number(UINT64_MAX, 8), Dictionary{{"CF$UID", 0x1p64}}},
           {"\x33" + real(1e17), Date{1e17 + 978307200}},
           {"\x33" + real(-0.5), Date{978307199.5}},
           {"\x52\xC3\xA9", "\xC3\xA9"}})  // not ASCII
    EXPECT_EQ(readPropertyList(binaryList({object})), value);
}

TEST(BinaryPropertyLists, AreCheckedInFull) {
  const auto arrayOf = [](uint64_t reference, size_t count) {
    return number(0xA0 + count, 1) + repeated(number(reference, 2), count);
  };
  EXPECT_EQ(readPropertyList(binaryList({arrayOf(1, 2), "\x51x"})), Value(Array({"x", "x"})));
  std::vector<std::string> deep, unfolding, big;
  for (uint64_t i = 1; i <= 200; ++i) deep.push_back(arrayOf(i, 1));
  for (uint64_t i = 1; i <= 40; ++i) unfolding.push_back(arrayOf(i, 14));
  for (uint64_t i = 1; i <= 4; ++i) big.push_back(arrayOf(i, 14));
  deep.push_back("\x09"), unfolding.push_back("\x09");
  big.push_back("\x4F\x11" + number(60'000, 2) + std::string(60'000, 'x'));
  std::vector<std::vector<std::string>> refused = {deep, unfolding, big};
  refused.push_back({arrayOf(1, 1), arrayOf(0, 1)});  // contains itself
  refused.push_back({"\xD1\0\1\0\1"s, "\x09"});       // the key is not a text
  const std::string tooLong = "\x13" + number(1ULL << 63, 8);
  for (const std::string& object :
       {arrayOf(1, 1), "\x5F" + tooLong, "\xDF" + tooLong,    // beyond the end
        "\x61\xD8\0"s, "\x62\xDC\0\xD8\0"s, "\x52\xFF\xFE"s,  // neither UTF-16 nor UTF-8
        "\x33" + real(HUGE_VAL), "\x33" + real(NAN),          // not a date
        "\0"s, "\x0F"s, "\x15" + number(0, 32), "\x21\0\0"s, "\xC1\0\0"s})  // unknown
    refused.push_back({object});
  for (std::vector<std::string> objects : refused) {
    if (objects != unfolding) {  // would take long
      EXPECT_FALSE(readPropertyList(binaryList(objects))) << testing::PrintToString(objects[0]);
    }
    // An entry that is not wanted is checked, too.
    const size_t root = objects.size();
    objects.push_back("\xD1" + number(root + 1, 2) + number(0, 2));
    objects.push_back("\x51k");
    EXPECT_FALSE(PropertyListReader().readEntries(binaryList(objects, 2, root), {}));
  }
  const std::string sound = binaryList({"\x09"});
  for (size_t i = 8; i < sound.size(); ++i) EXPECT_FALSE(readPropertyList(sound.substr(0, i)));
  std::string inHeader = binaryList({"\x09"}, 1);
  inHeader[9] = 0;  // the offset of its object
  EXPECT_FALSE(readPropertyList(inHeader));
  for (const size_t size : {0, 9, 255}) EXPECT_FALSE(readPropertyList(binaryList({"\x09"}, size)));
}

TEST(TextPropertyLists, AreReadAsDocumented) {
  for (const auto& [text, value] : std::vector<std::pair<std::string, std::optional<Value>>>{
           {"\xEF\xBB\xBF{ a = b; \"c d\" = (/e/, $f:1,); g=h } // i",
            Dictionary{{"a", "b"}, {"c d", Array({"/e/", "$f:1"})}, {"g", "h"}}},
           {"a = b;\n\"c\" = /* ; */ \"\\\"\";\nd;",
            Dictionary{{"a", "b"}, {"c", "\""}, {"d", ""}}},
           {"a = (b);", std::nullopt},  // without braces, values are texts
           {"(a,,)", Array({"a", ""})},
           {"<0fbd 77 1C>", Data{"\x0F\xBDw\x1C"}},
           {"<[YWI=]>", Data{"ab"}},
           {"(<*I-5>, <*I\"5\">, <*R1.5>, <*BY>, <*D2001-01-01 01:30:00 +0130>, <*D2000-12-31 "
            "23:59:59 -0001>)",
            Array({-5, 5, 1.5, true, Date{978307200}, Date{978307259}})},
           {"<*I5x>", std::nullopt},  // GNUstep reads 5
           {"\"\\a\\b\\f\\n\\r\\t\\v\\\\\\\"\\'\\z\"", "\a\b\f\n\r\t\v\\\"'z"},
           {"\"\\101\\12\\7x\"", "A\n\ax"},
           {"\"\\200\\253\\341\\254\"", "\u00A0\u00AB\u00C6\u2039"},  // Latin-1 for GNUstep
           {"\"\\400\"", std::nullopt},
           {"\"\\Ue9 \\u20ac\\Ud83d\\Ude00\\U1\"", "\u00E9 \u20AC\U0001F600\x01"},
           {"\"\\Ud83d\"", std::nullopt},
           {"\"\\Ud83d \\Ude00\"", std::nullopt},
           {"\"\\Ux\"", std::nullopt},         // a null character for GNUstep
           {"{ (a) = b; }", std::nullopt},     // GNUstep has keys that are not texts
           {" /* nothing */ ", std::nullopt},  // an empty dictionary for GNUstep
           {"\"\xFF\"", std::nullopt},
           {"", std::nullopt}}) {
    EXPECT_EQ(described(readPropertyList(text)), described(value)) << text;
  }
  const std::string_view key = "b";
  EXPECT_EQ(PropertyListReader().readEntries("{a={b=c;};b=(a);}", {&key, 1}),
            (Dictionary{{"b", Array({"a"})}}));
  EXPECT_FALSE(readPropertyList("(" + std::string(4'000'000, ',') + ")"));
}

}  // namespace
}  // namespace revwarden
