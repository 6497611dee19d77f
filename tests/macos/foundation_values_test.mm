#import "ports/macos/platform/foundation_values.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <typeinfo>

#include "ports/macos/platform/foundation_property_lists.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {
namespace {

class FoundationValues : public testing::Test {
 private:
  const AutoreleasePool pool_;
};

// Compares the type, too: values of different types are equal if they represent the same number.
void expectValue(id object, const Value& expected) {
  SCOPED_TRACE([[object description] UTF8String]);
  const auto kindOf = [](const auto& held) { return std::string(typeid(held).name()); };
  const auto value = valueOf(object);
  ASSERT_TRUE(value);
  EXPECT_EQ(*value, expected);
  EXPECT_EQ(value->visit(kindOf), expected.visit(kindOf));
}

void expectRoundTrip(const Value& value) {
  expectValue(foundationValue(value), value);
}

TEST_F(FoundationValues, EveryTypeSurvivesTheRoundTrip) {
  const Dictionary inner = {{"", true}, {"é", Array({Dictionary(), Array({1, "", 0.5})})}};
  const std::string odd = "\uFEFF👩‍🚀 e\u0301 \uFFFD\uFEFF\x01";
  expectRoundTrip(Array({inner, true, 1, 1.0, Date{0.5}, Data{}, "", Array(), false, 0, 0.0}));
  expectRoundTrip(odd);
  expectRoundTrip(odd + '\0' + odd);
  expectRoundTrip(Data{std::string("\0\xFF\0", 3)});
  for (const bool flag : {true, false}) expectRoundTrip(flag);
  for (const int64_t number : {INT64_MIN, INT64_MAX, int64_t{1}}) expectRoundTrip(number);
  for (const double number : {1.0, 0.1, -DBL_MAX, 5e-324, HUGE_VAL, 1e15}) expectRoundTrip(number);
  for (const double date : {-1.5, -6e10, 1234567890.123456}) expectRoundTrip(Date{date});
}

TEST_F(FoundationValues, NumbersKeepTheirType) {
  expectValue([NSNumber numberWithBool:YES], true);
  expectValue([NSNumber numberWithInt:1], 1);
  expectValue([NSNumber numberWithChar:0], 0);
  expectValue([NSNumber numberWithUnsignedLongLong:INT64_MAX], INT64_MAX);
  expectValue([NSNumber numberWithUnsignedLongLong:UINT64_MAX], 0x1p64);
  expectValue([NSNumber numberWithFloat:0.25F], 0.25);
  expectValue([NSDecimalNumber decimalNumberWithString:@"2.5"], 2.5);
}

TEST_F(FoundationValues, InvalidTextGetsReplacementCharacters) {
  NSMutableString* const halves = [NSMutableString stringWithString:foundationText("🚀a🚀b🚀")];
  [halves deleteCharactersInRange:NSMakeRange(0, 1)];
  [halves deleteCharactersInRange:NSMakeRange([halves length] - 1, 1)];
  EXPECT_EQ(textOf(halves), "\uFFFDa🚀b\uFFFD");
  EXPECT_TRUE([foundationText("\xFF\xC3\xA9\x80z\xC3") isEqual:@"\uFFFD\u00E9\uFFFDz\uFFFD"]);
  EXPECT_FALSE(optionalTextOf(nil));
  std::string marks;
  for (int i = 0; i < 400'000; ++i) marks += "\uFEFF";
  EXPECT_EQ(textOf(foundationText(marks)), marks);
}

TEST_F(FoundationValues, ObjectsThatAreNotPropertyListsAreLeftOut) {
  EXPECT_FALSE(valueOf(nil));
  EXPECT_FALSE(valueOf([NSNull null]));
  NSDictionary* const odd = [NSDictionary dictionaryWithObject:@"" forKey:[NSNull null]];
  expectValue([NSArray arrayWithObjects:@"a", [NSSet set], odd, nil], Array({"a", Dictionary()}));
  EXPECT_EQ(textsOf([NSSet setWithObjects:@"a", odd, nil]), std::vector<std::string>{"a"});
  EXPECT_EQ(dictionaryOf(@"text"), Dictionary());
  id deep = [NSArray array];
  for (int i = 0; i < 128; ++i) deep = [NSArray arrayWithObject:deep];
  EXPECT_TRUE(valueOf(deep));
  EXPECT_FALSE(valueOf([NSArray arrayWithObject:deep]));
  id wide = [NSArray array];
  for (int i = 0; i < 60; ++i) wide = [NSArray arrayWithObjects:wide, wide, nil];
  EXPECT_FALSE(valueOf(wide));
}

TEST_F(FoundationValues, ReadsPropertyListsAndRejectsOtherData) {
  const FoundationPropertyLists lists;
  const std::string whole =
      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>mount-point</key>"
      "<string>/Volumes/A</string></dict></plist>";
  EXPECT_EQ(lists.propertyListFromData(whole), Value(Dictionary{{"mount-point", "/Volumes/A"}}));
  for (const auto& bad : {whole.substr(0, 50), std::string("bplist00\xFF"), std::string()}) {
    EXPECT_FALSE(lists.propertyListFromData(bad)) << bad;
  }
}

TEST_F(FoundationValues, ConvertedObjectsAreImmutable) {
  NSDictionary* const outer = foundationDictionary({{"a", Array({Dictionary{{"b", "c"}}})}});
  NSArray* const inner = [outer objectForKey:@"a"];
  EXPECT_FALSE([outer isKindOfClass:[NSMutableDictionary class]]);
  EXPECT_FALSE([inner isKindOfClass:[NSMutableArray class]]);
  EXPECT_FALSE([[inner objectAtIndex:0] isKindOfClass:[NSMutableDictionary class]]);
}

}  // namespace
}  // namespace revwarden
