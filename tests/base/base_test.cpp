#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/text.h"
#include "base/value.h"

namespace revwarden {
namespace {

TEST(ValueTest, EqualNumbersCompareEqualAcrossTypes) {
  EXPECT_EQ(Value(true), Value(1));
  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_NE(Value(std::numeric_limits<int64_t>::max()), Value(9223372036854775808.0));
  EXPECT_NE(Value(std::nan("")), Value(std::nan("")));
  const Value flag = true;
  const Value count = 1;
  EXPECT_TRUE(flag.as<bool>());
  EXPECT_FALSE(count.as<bool>());
  EXPECT_FALSE((std::is_constructible_v<Value, const std::string*>))
      << "a pointer must not convert to a boolean";
}

TEST(ValueTest, ConvertsEveryTypeToBooleanAndInteger) {
  for (const Value& yes : {Value(true), Value(2), Value(0.5), Value("YES"), Value(" true"),
                           Value("001"), Value("-3")}) {
    EXPECT_TRUE(yes.boolValue());
  }
  for (const Value& no : {Value(false), Value(0), Value(""), Value("no"), Value("0"),
                          Value(Date{1}), Value(Dictionary{{"a", 1}}), Value(Data{"1"})}) {
    EXPECT_FALSE(no.boolValue());
  }
  EXPECT_EQ(Value(" 42 apples").integerValue(), 42);
  EXPECT_EQ(Value("-7").integerValue(), -7);
  EXPECT_EQ(Value(2.9).integerValue(), 2);
  EXPECT_EQ(Value(1e300).integerValue(), 0);
  EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
  EXPECT_EQ(Value("99999999999999999999").integerValue(), 0);
}

TEST(DictionaryTest, ChangesReturnNewDictionariesAndTheLaterValueWins) {
  const Dictionary one{{"b", 1}, {"a", "x"}, {"b", 2}};
  EXPECT_EQ(one.size(), 2u);
  EXPECT_EQ(one.integerFor("b"), 2);
  const Dictionary two = one.with("c", Array({1, "two", Dictionary{{"k", 3.5}}})).without("a");
  EXPECT_EQ(one.size(), 2u);
  EXPECT_EQ(two, (Dictionary{{"c", Array({true, "two", Dictionary{{"k", 3.5}}})}, {"b", 2}}));
  EXPECT_NE(two, one);
  DictionaryBuilder builder(two);
  builder.set("b", 3);
  builder.remove("b");
  builder.remove("none");
  builder.set("a", 1);
  builder.set("a", 2);
  EXPECT_EQ(builder.build(), two.without("b").with("a", 2));
  EXPECT_TRUE(builder.build().empty());
  EXPECT_FALSE(one.stringFor("b")) << "has another type";
  EXPECT_FALSE(one.dateFor("a"));
}

TEST(TextTest, DistinguishesUtf8FromOtherBytes) {
  for (const char* good : {"", "plain", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                           "\xF4\x8F\xBF\xBF", "\xED\x9F\xBF"}) {
    EXPECT_TRUE(isValidUtf8(good)) << good;
  }
  for (const char* bad : {"\x80", "\xC0\x80", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80", "\xE2\x82",
                          "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xFF", "ok\xC3("}) {
    EXPECT_FALSE(isValidUtf8(bad));
  }
  const std::string hostile = "é€😀\n\x1b\xC2\x9B\u202E\u2028a\xff\xc0\xafz\xe2\x82";
  EXPECT_EQ(escaped(hostile), "é€😀\\n\\u001b\\u009b\\u202e\\u2028a\uFFFD\uFFFDz\uFFFD");
}

TEST(TextTest, TrimsSpacesButNotLineBreaks) {
  EXPECT_EQ(trimmingSpaces(" \t a b\xC2\xA0\xE3\x80\x80 "), "a b");
  EXPECT_EQ(trimmingSpaces(" \n "), "\n");
  EXPECT_EQ(trimmingSpaces("\xE2\x80\x83"), "");
  EXPECT_EQ(trimmingSpacesAndLineBreaks(" \r\n \xE2\x80\xA8 a\nb \xC2\x85 \v"), "a\nb");
  EXPECT_EQ(trimmingSpaces("\xC3\xA9"), "\xC3\xA9");
}

TEST(TextTest, FormatsWithoutInterpretingArguments) {
  EXPECT_EQ(formatted("%@ and %@ of %@", {{"%@"}, std::nullopt}), "%@ and (null) of (null)");
  EXPECT_EQ(formatted("%2$@ %1$@ 100%% %d %", {{"a"}, {"b"}}), "b a 100% %d %");
}

}  // namespace
}  // namespace revwarden
