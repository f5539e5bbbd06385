// Checks the file writer against bytes worked out by hand, without any reader. Every other test of
// the format stands on it.

#include <gtest/gtest.h>
#include <zlib.h>

#include <bit>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/Attributes.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/Hex.h"
#include "support/Records.h"
#include "support/Variable.h"

namespace tevtest {
namespace {

std::string Inflated(std::string_view stream, std::size_t length) {
  std::string in(stream);
  std::string out(length, '\0');
  uLongf size = static_cast<uLongf>(length);
  const int code =
      uncompress(reinterpret_cast<Bytef*>(out.data()), &size,
                 reinterpret_cast<const Bytef*>(in.data()), static_cast<uLong>(in.size()));
  EXPECT_EQ(code, Z_OK);
  EXPECT_EQ(size, length);
  return out;
}

TEST(ByteWriter, EveryType_IsLittleEndian) {
  const std::string bytes = ByteWriter()
                                .U8(0xFE)
                                .U32(0x01020304)
                                .I32(-2)
                                .U64(0x0102030405060708)
                                .F32(1.0F)
                                .F64(-2.0)
                                .Raw("r")
                                .Bytes();
  EXPECT_EQ(bytes, Hex("fe 04030201 feffffff 0807060504030201 0000803f 00000000000000c0 'r'"));
}

TEST(ByteWriter, TextsAndVectors_HaveACount) {
  const std::vector<std::uint8_t> bytes{7, 8};
  const std::vector<std::uint32_t> numbers{9};
  const std::vector<std::string> texts{"ab", ""};
  EXPECT_EQ(ByteWriter().Text("abc").U8s(bytes).U32s(numbers).Texts(texts).Bytes(),
            Hex("03000000 'abc' 02000000 07 08 01000000 09000000 02000000 02000000 'ab' 00000000"));
}

TEST(ByteWriter, NaN_KeepsItsBits) {
  const float signalling = std::bit_cast<float>(0xFFA00001U);
  EXPECT_EQ(ElementBytes(std::vector<float>{signalling}), Hex("0100a0ff"));
}

TEST(ByteWriter, PatchU32_OverwritesFourBytesOrThrows) {
  std::string bytes = "abcdef";
  PatchU32(bytes, 1, 0x31323334);
  EXPECT_EQ(bytes, "a4321f");
  EXPECT_THROW(PatchU32(bytes, 3, 0), std::out_of_range);
}

TEST(ContainerWriter, OneRawBlock_IsHeaderIndexAndPayload) {
  const Container file = ContainerWriter().AddRaw("A", "xy").Build();
  EXPECT_EQ(file.bytes, Hex("89 'LBF' 0d 0a 1a 0a '1.3' 00 10000000"
                            "01000000 00 01000000 'A' 02000000 00 00"
                            "'xy'"));
  EXPECT_EQ(file.indexOffset, 16U);
  EXPECT_EQ(file.indexSize, 16U);
  EXPECT_EQ(file.Block("A").offset, 32U);
  EXPECT_EQ(file.Block("A").entryOffset, 20U);
}

TEST(ContainerWriter, CompressedBlock_StoresItsLengthAndAZlibStream) {
  const std::string payload(1000, 'p');
  const Container file = ContainerWriter().AddRaw("A", "xy").AddCompressed("B", payload).Build();
  const BlockPlace& place = file.Block("B");
  const std::string stored = file.bytes.substr(place.offset, place.storedSize);
  EXPECT_EQ(place.offset + place.storedSize, file.bytes.size());
  EXPECT_EQ(stored.substr(0, 4), Hex("e8030000"));
  EXPECT_EQ(Inflated(stored.substr(4), 1000), payload);
  EXPECT_EQ(file.bytes.substr(*place.entryOffset, 6), Hex("01 01000000 'B'"));
  EXPECT_EQ(file.bytes.substr(*place.entryOffset + 10, 2), Hex("01 00"));
}

TEST(ContainerWriter, EveryOverride_IsWrittenAsGiven) {
  ContainerWriter writer;
  writer.SetSignature("sign").SetVersion("12345").SetIndexTrailing("tail").SetIndexCount(5);
  writer.SetIndexSize(0x99);
  writer.Add({.name = "A",
              .payload = "ignored",
              .compressed = true,
              .sequence = 0x42,
              .options = 0x43,
              .extraCompressionBits = 0x80,
              .storedBytes = "S",
              .storedSize = 0x77});
  EXPECT_EQ(writer.Build().bytes,
            Hex("'sign' '1234' 99000000 05000000 42 01000000 'A' 77000000 81 43 'tail' 'S'"));
}

TEST(ContainerWriter, RecordedLength_ReplacesOnlyTheLength) {
  const BlockSpec block{.name = "A", .payload = "xyz", .compressed = true, .recordedLength = 7};
  const Container file = ContainerWriter().Add(block).Build();
  const BlockPlace& place = file.Block("A");
  const std::string stored = file.bytes.substr(place.offset, place.storedSize);
  EXPECT_EQ(stored.substr(0, 4), Hex("07000000"));
  EXPECT_EQ(Inflated(stored.substr(4), 3), "xyz");
}

TEST(ContainerWriter, RawContinuation_ListsTheBlocksAfterIt) {
  const Container file =
      ContainerWriter().AddRaw("A", "xy").AddRaw("B", "z").ContinueAfter({.after = 1}).Build();
  EXPECT_EQ(file.bytes.substr(16), Hex("02000000 00 01000000 'A' 02000000 00 00"
                                       "01 0e000000 0b 'Index Block 1' 10000000 00 00"
                                       "'xy'"
                                       "01000000 02 01000000 'B' 01000000 00 00"
                                       "'z'"));
  EXPECT_EQ(file.continuations.at(0).offset, 16U + 41U + 2U);
  EXPECT_FALSE(file.Block("B").entryOffset.has_value());
}

TEST(ContainerWriter, CompressedContinuation_InflatesToTheList) {
  ContainerWriter writer;
  writer.AddRaw("A", "xy").AddRaw("B", "z");
  writer.ContinueAfter({.after = 2, .block = {.name = "Index", .compressed = true}});
  const Container file = writer.Build();
  const BlockPlace& place = file.continuations.at(0);
  EXPECT_EQ(place.offset, file.Block("B").offset + 1);
  EXPECT_EQ(Inflated(file.bytes.substr(place.offset + 4), 4), Hex("00000000"));
}

TEST(ContainerWriter, NestedContinuation_IsListedInTheOneBefore) {
  ContainerWriter writer;
  writer.AddRaw("A", "x").AddRaw("B", "y");
  writer.ContinueAfter({.after = 1, .block = {.name = "1"}});
  writer.ContinueAfter({.after = 1, .block = {.name = "2"}});
  EXPECT_EQ(writer.Build().bytes.substr(16),
            Hex("02000000 00 01000000 'A' 01000000 00 00 01 01000000 '1' 10000000 00 00 'x'"
                "01000000 02 01000000 '2' 10000000 00 00"
                "01000000 03 01000000 'B' 01000000 00 00 'y'"));
}

TEST(ContainerWriter, TruncateTo_CutsTheFile) {
  EXPECT_EQ(ContainerWriter().AddRaw("A", "xy").TruncateTo(9).Build().bytes,
            Hex("89 'LBF' 0d 0a 1a 0a '1'"));
}

TEST(AttributeSet, ValuesOfEachKind_GoToTheirListInNameOrder) {
  const AttributeSet set{Attribute::Float("a", 1.0F), Attribute::Uint("b", 5),
                         Attribute::Float("c", 2.0F), Attribute::Text("d", "t"),
                         Attribute::Coded("e", 7, 1.0)};
  EXPECT_EQ(set.Encode(), Hex("05000000 01000000 'a' 01000000 'b' 01000000 'c' 01000000 'd'"
                              "01000000 'e' 05000000 01 00 01 02 07"
                              "01000000 05000000"
                              "02000000 0000803f 00000040"
                              "01000000 000000000000f03f"
                              "01000000 01000000 't'"));
}

TEST(AttributeSet, ListThatIsSet_ReplacesTheItems) {
  AttributeSet set{Attribute::Uint("b", 5)};
  set.types.emplace();
  set.uints = {1, 2};
  EXPECT_EQ(set.Encode(), Hex("01000000 01000000 'b' 00000000 02000000 01000000 02000000"
                              "00000000 00000000 00000000"));
}

TEST(MaterialRecord, EachVersion_HasItsFields) {
  MaterialRecord material{.version = "0.1", .envelope = {.sized = false}};
  EXPECT_EQ(material.Encode().size(), 7U + 60U);
  material.version = "0.2";
  EXPECT_EQ(material.Encode().size(), 7U + 64U);
  material.version = "9.9";
  EXPECT_EQ(material.Encode().size(), 7U + 65U);
  EXPECT_EQ(material.Encode().substr(0, 11), Hex("03000000 '9.9' 0000003f"));
  EXPECT_EQ(material.Encode().substr(7 + 56), Hex("00000041 0000403f 01"));
}

TEST(MaterialRecord, Sized_CountsFromItsSizeFieldToItsEnd) {
  MaterialRecord material;
  EXPECT_EQ(material.Encode().substr(0, 4), Hex("4c000000"));  // 4 + 7 + 65
  material.envelope.trailing = "1234567";
  EXPECT_EQ(material.Encode().substr(0, 4), Hex("53000000"));
  EXPECT_EQ(material.Encode().size(), 83U);
  material.envelope.recordSize = 1;
  EXPECT_EQ(material.Encode().substr(0, 4), Hex("01000000"));
}

TEST(ModifierRecord, List_IsACountAndSevenTextsEach) {
  const ModifierRecord modifier{.version = "0.1",
                                .applicationName = "1",
                                .applicationVersion = "2",
                                .tevVersion = "3",
                                .date = "4",
                                .unreported = "5",
                                .userName = "6",
                                .comment = ""};
  EXPECT_EQ(EncodeModifiers({modifier}, {}),
            Hex("01000000 2d000000 03000000 '0.1' 01000000 '1' 01000000 '2' 01000000 '3'"
                "01000000 '4' 01000000 '5' 01000000 '6' 00000000"));
  EXPECT_EQ(EncodeModifiers({}, 3), Hex("03000000"));
}

TEST(NodeSetLists, FiveLists_GiveNamesAndMembersByOffsets) {
  const NodeSetLists lists{.sets = {{"ab", {{1, 2}, {3, 4}}}, {"c", {}}}};
  EXPECT_EQ(lists.Encode(), Hex("03000000 00000000 02000000 03000000"
                                "03000000 'abc'"
                                "03000000 00000000 02000000 02000000"
                                "02000000 01000000 03000000"
                                "02000000 02000000 04000000"));
}

TEST(Shuffle, ScalarElements_BecomeBytePlanes) {
  EXPECT_EQ(Shuffle(Hex("01030507 02040608"), 1), Hex("01 02 03 04 05 06 07 08"));
}

TEST(Shuffle, WidthThree_BecomesAPlaneForEachComponent) {
  const std::string elements = Hex("01020304 11121314 21222324 05060708 15161718 25262728");
  EXPECT_EQ(Shuffle(elements, 3), Hex("01 05 02 06 03 07 04 08"
                                      "11 15 12 16 13 17 14 18"
                                      "21 25 22 26 23 27 24 28"));
}

TEST(Shuffle, WhatTheWidthLeavesOver_StaysAtTheEnd) {
  EXPECT_EQ(Shuffle(Hex("01020304 05060708 090a0b0c dddd"), 2),
            Hex("01020304 05060708 090a0b0c dddd"));
  EXPECT_EQ(Shuffle(Hex("0102 0304 0506 0708 ee"), 1), Hex("01 05 02 06 03 07 04 08 ee"));
  EXPECT_EQ(Shuffle(Hex("01020304 05060708"), 0), Hex("01020304 05060708"));
}

}  // namespace
}  // namespace tevtest
