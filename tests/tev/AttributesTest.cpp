// Attribute sets as they are read.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Attributes.h"
#include "ModelOnDisk.h"
#include "support/Attributes.h"

namespace LbtUtil {
namespace {

using tevtest::Attribute;
using tevtest::AttributeSet;
using tevtest::FailureOf;
using tevtest::kAttributes;
using tevtest::ModelOnDisk;

using Kind = AttributeValue::Kind;
using Texts = std::map<std::string, std::string>;

const std::string kListTooShort = tevtest::ExpectedException(
    "Out of Bounds", "Not enough bytes in the block", "include/Lbt/Tev/Attributes");

AttributeMap Read(const AttributeSet& set) {
  ModelOnDisk disk({{kAttributes, set.Encode()}});
  AttributeMap attributes;
  ReadAttributesFromLbf(disk.File(), kAttributes, attributes);
  return attributes;
}

std::string FailureOfReading(const AttributeSet& set) {
  return FailureOf([&] { static_cast<void>(Read(set)); });
}

Texts TextsOf(const AttributeMap& attributes) {
  Texts texts;
  for (const auto& [name, value] : attributes) {
    texts[name] = value.GetAttributeString();
  }
  return texts;
}

TEST(Attributes, EachKind_IsTakenFromItsList) {
  const AttributeMap attributes = Read({Attribute::Double("d", 0.001), Attribute::Text("t", "some"),
                                        Attribute::Float("f", 0.5F), Attribute::Uint("u", 42)});
  EXPECT_EQ(TextsOf(attributes), (Texts{{"d", "0.001"}, {"f", "0.5"}, {"t", "some"}, {"u", "42"}}));
  EXPECT_EQ(attributes.at("u").GetKind(), Kind::UnsignedInteger);
  EXPECT_EQ(attributes.at("f").GetKind(), Kind::Float);
  EXPECT_EQ(attributes.at("t").GetKind(), Kind::Text);
  EXPECT_EQ(attributes.at("d").GetKind(), Kind::Double);
}

TEST(Attributes, ValuesOfOneKind_ComeInTheOrderOfTheirNames) {
  const AttributeMap attributes =
      Read({Attribute::Float("a", 1.5F), Attribute::Uint("b", 7), Attribute::Float("c", 2.5F)});
  EXPECT_EQ(TextsOf(attributes), (Texts{{"a", "1.5"}, {"b", "7"}, {"c", "2.5"}}));
}

TEST(Attributes, AnUnknownCode_TakesTheNextValueOfTheKindBefore) {
  for (const auto code : {std::uint8_t{4}, std::uint8_t{7}, std::uint8_t{255}}) {
    const AttributeMap attributes =
        Read({Attribute::Double("a", 1.25), Attribute::Coded("b", code, 2.25),
              Attribute::Coded("c", code, 3.25), Attribute::Uint("d", 4)});
    EXPECT_EQ(TextsOf(attributes),
              (Texts{{"a", "1.25"}, {"b", "2.25"}, {"c", "3.25"}, {"d", "4"}}));
    EXPECT_EQ(attributes.at("c").GetKind(), Kind::Double);
  }
}

TEST(Attributes, AnUnknownCodeAtTheStart_IsAnUnsignedInteger) {
  const AttributeMap attributes = Read({Attribute::Coded("a", 9, 11U), Attribute::Uint("b", 12)});
  EXPECT_EQ(TextsOf(attributes), (Texts{{"a", "11"}, {"b", "12"}}));
}

TEST(Attributes, AText_IsCutAfter256Characters) {
  const std::string longest(256, 'x');
  const AttributeMap attributes =
      Read({Attribute::Text("cut", longest + "yz"), Attribute::Text("whole", longest)});
  EXPECT_EQ(TextsOf(attributes), (Texts{{"cut", longest}, {"whole", longest}}));
}

TEST(Attributes, ATextWithANul_EndsThere) {
  EXPECT_EQ(TextsOf(Read({Attribute::Text("t", std::string_view("ab\0cd", 5))})),
            (Texts{{"t", "ab"}}));
}

TEST(Attributes, EmptyNamesAndTexts_AreKept) {
  EXPECT_EQ(TextsOf(Read({Attribute::Text("first", "abc"), Attribute::Text("", ""),
                          Attribute::Text("last", "")})),
            (Texts{{"", ""}, {"first", "abc"}, {"last", ""}}));
}

TEST(Attributes, ARepeatedName_HasItsLastValue) {
  EXPECT_EQ(TextsOf(Read({Attribute::Uint("n", 1), Attribute::Text("n", "two")})),
            (Texts{{"n", "two"}}));
}

TEST(Attributes, TheMap_KeepsItsOtherEntries) {
  ModelOnDisk disk(
      {{kAttributes,
        AttributeSet{Attribute::Uint("new", 1), Attribute::Uint("both", 2)}.Encode()}});
  AttributeMap attributes{{"old", 8U}, {"both", "before"}};
  ReadAttributesFromLbf(disk.File(), kAttributes, attributes);
  EXPECT_EQ(TextsOf(attributes), (Texts{{"both", "2"}, {"new", "1"}, {"old", "8"}}));
}

TEST(Attributes, Sets_FollowOneAnother) {
  const std::string first = AttributeSet{Attribute::Uint("a", 1)}.Encode();
  const std::string second = AttributeSet{Attribute::Text("b", "2")}.Encode();
  ModelOnDisk disk({{kAttributes, first + AttributeSet().Encode() + second}});
  for (const Texts& expected : {Texts{{"a", "1"}}, Texts{}, Texts{{"b", "2"}}}) {
    AttributeMap attributes;
    ReadAttributesFromLbf(disk.File(), kAttributes, attributes);
    EXPECT_EQ(TextsOf(attributes), expected);
  }
}

TEST(Attributes, WithoutTheirStream_AreNone) {
  ModelOnDisk disk({{"Other", "x"}});
  AttributeMap attributes{{"old", 8U}};
  ReadAttributesFromLbf(disk.File(), kAttributes, attributes);
  EXPECT_EQ(TextsOf(attributes), (Texts{{"old", "8"}}));
}

TEST(Attributes, SurplusTypesAndValues_AreIgnored) {
  AttributeSet set{Attribute::Uint("a", 1)};
  set.types = {0, 1, 2};
  set.uints = {5, 6, 7};
  set.texts = {"unused"};
  EXPECT_EQ(TextsOf(Read(set)), (Texts{{"a", "5"}}));
}

TEST(Attributes, WithFewerTypesThanNames_FailWithNotEnoughBytes) {
  AttributeSet set{Attribute::Uint("a", 1), Attribute::Uint("b", 2)};
  set.types = {0};
  EXPECT_EQ(FailureOfReading(set), kListTooShort);
}

TEST(Attributes, WithAListShorterThanItsNamesNeed_FailWithNotEnoughBytes) {
  const AttributeSet full{Attribute::Uint("u", 1), Attribute::Float("f", 1),
                          Attribute::Text("t", ""), Attribute::Double("d", 1)};
  AttributeSet set = full;
  set.uints.emplace();
  EXPECT_EQ(FailureOfReading(set), kListTooShort);
  set = full;
  set.floats.emplace();
  EXPECT_EQ(FailureOfReading(set), kListTooShort);
  set = full;
  set.doubles.emplace();
  EXPECT_EQ(FailureOfReading(set), kListTooShort);
  set = full;
  set.texts.emplace();
  EXPECT_EQ(FailureOfReading(set), kListTooShort);
}

/// Where the lists of the set below end: names, types, unsigned, floats, doubles.
const AttributeSet kOneOfEach{Attribute::Uint("u", 3), Attribute::Float("f", 0.25F),
                              Attribute::Double("d", 0.125), Attribute::Text("t", "text")};
constexpr std::size_t kListEnds[] = {24, 32, 40, 48, 60};

TEST(Attributes, ASetCutBetweenTwoLists_GoesOnInTheNextBlock) {
  const std::string bytes = kOneOfEach.Encode();
  ASSERT_EQ(bytes.size(), 72U);
  for (const std::size_t cut : kListEnds) {
    ModelOnDisk disk({{kAttributes, bytes.substr(0, cut)}, {kAttributes, bytes.substr(cut)}});
    AttributeMap attributes;
    ReadAttributesFromLbf(disk.File(), kAttributes, attributes);
    EXPECT_EQ(TextsOf(attributes),
              (Texts{{"d", "0.125"}, {"f", "0.25"}, {"t", "text"}, {"u", "3"}}))
        << cut;
  }
}

TEST(Attributes, ASetCutWithinAList_FailsWithNotEnoughBytes) {
  const std::string bytes = kOneOfEach.Encode();
  // Within a name, after the count of the type codes, among them, before a number, in a text.
  for (const std::size_t cut : {9U, 28U, 30U, 36U, 46U, 56U, 70U}) {
    ModelOnDisk disk({{kAttributes, bytes.substr(0, cut)}, {kAttributes, bytes.substr(cut)}});
    AttributeMap attributes;
    EXPECT_EQ(FailureOf([&] { ReadAttributesFromLbf(disk.File(), kAttributes, attributes); }),
              tevtest::kNotEnoughBytes)
        << cut;
  }
}

}  // namespace
}  // namespace LbtUtil
