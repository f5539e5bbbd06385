// Reading values of every type from named streams, and which missing streams are absorbed.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "LbfSupport.h"
#include "Lbt/Lbf/LbFile.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::TempDir;

constexpr const char* kNotFoundLine = "Index : # @ Element Not Found\n";

class OpenLbFile {
 public:
  explicit OpenLbFile(const ContainerWriter& writer) {
    file_.OpenFile(directory_.Write("a.tev", writer.Build().bytes), "rb");
  }
  explicit OpenLbFile(std::string_view payload)
      : OpenLbFile(ContainerWriter().AddRaw("A", payload)) {}

  LbFile* operator->() { return &file_; }

  template <class T>
  T Read(T value = {}) {
    file_.Get<T>("A", value);
    return value;
  }

 private:
  TempDir directory_;
  LbFile file_;
};

TEST(LbFileGet, EveryType_FollowsOneAnother) {
  OpenLbFile file(ByteWriter()
                      .U8(0xFE)
                      .U8(2)
                      .U32(0x01020304)
                      .F32(1.5F)
                      .U64(0x0102030405060708)
                      .Text("abc")
                      .Raw("xyz")
                      .Bytes());
  EXPECT_EQ(file.Read<unsigned char>(), 0xFEU);
  EXPECT_TRUE(file.Read<bool>());
  EXPECT_EQ(file.Read<unsigned int>(), 0x01020304U);
  EXPECT_EQ(file.Read<float>(), 1.5F);
  EXPECT_EQ(file.Read<unsigned long>(), 0x0102030405060708U);
  EXPECT_EQ(file.Read<std::string>(), "abc");
  char bytes[] = "????";
  file->Get<char>("A", bytes, 3);
  EXPECT_STREQ(bytes, "xyz?");
}

TEST(LbFileGet, EveryVectorType_FollowsOneAnother) {
  const std::vector<std::uint8_t> bytes{1, 2};
  const std::vector<std::uint32_t> numbers{3, 4294967295U};
  const std::vector<float> floats{0.5F};
  const std::vector<double> doubles{-0.25, 1e300};
  const std::vector<std::string> texts{"a", "bc"};
  OpenLbFile file(
      ByteWriter().U8s(bytes).U32s(numbers).F32s(floats).F64s(doubles).Texts(texts).Bytes());
  EXPECT_EQ(file.Read<std::vector<unsigned char>>(), bytes);
  EXPECT_EQ(file.Read<std::vector<unsigned int>>(), numbers);
  EXPECT_EQ(file.Read<std::vector<float>>(), floats);
  EXPECT_EQ(file.Read<std::vector<double>>(), doubles);
  EXPECT_EQ(file.Read<std::vector<std::string>>(), texts);
}

TEST(LbFileGet, RawBytes_AreCopied) {
  OpenLbFile file("abcdef");
  char bytes[] = "??????";
  file->Get("A", static_cast<void*>(bytes), 4);
  EXPECT_STREQ(bytes, "abcd??");
}

TEST(LbFileGet, RawBytes_TakeTheLow32BitsOfTheLength) {
  OpenLbFile file("abcdef");
  char bytes[] = "??????";
  file->Get("A", static_cast<void*>(bytes), 0x100000002UL);
  EXPECT_STREQ(bytes, "ab????");
}

TEST(LbFileGet, NoBytes_StillLoadABlock) {
  OpenLbFile file("abc");
  file->Get("A", static_cast<void*>(nullptr), 0);
  EXPECT_EQ(file->GetIndex().GetItems()[0].loaded, 1U);
}

TEST(LbFileGet, StringOfLengthZero_LeavesTheDestination) {
  OpenLbFile file(ByteWriter().Text("").Bytes());
  EXPECT_EQ(file.Read<std::string>("abc"), "abc");
}

TEST(LbFileGet, StringWithNul_IsCutAndConsumedWhole) {
  OpenLbFile file(ByteWriter().Text(std::string_view("a\0bcd", 5)).U32(7).Bytes());
  EXPECT_EQ(file.Read<std::string>(), "a");
  EXPECT_EQ(file.Read<unsigned int>(), 7U);
}

TEST(LbFileGet, VectorThatRunsOut_KeepsItsLength) {
  OpenLbFile file(ByteWriter().U32(3).U32(5).U32(6).Bytes());
  std::vector<unsigned int> values;
  EXPECT_EQ(FailureOf([&] { file->Get("A", values); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(values, (std::vector<unsigned int>{5, 6, 0}));
}

TEST(LbFileGet, VectorOfCountZero_IsEmptied) {
  OpenLbFile file(ByteWriter().U32(0).Bytes());
  EXPECT_TRUE(file.Read<std::vector<unsigned int>>({1, 2}).empty());
}

TEST(LbFileGet, Value_NeverGoesOnInTheNextBlock) {
  OpenLbFile file(ContainerWriter().AddRaw("A", "abc").AddRaw("A", "defg"));
  EXPECT_EQ(FailureOf([&] { file.Read<unsigned int>(); }), tevtest::NotEnoughBytes());
  std::string bytes = "???";
  file->Get("A", bytes.data(), 3);
  EXPECT_EQ(bytes, "abc");
  EXPECT_EQ(file.Read<unsigned int>(), 0x67666564U);
}

TEST(LbFileGet, ValueCutByItsBlock_LeavesTheComponentsReadConsumed) {
  OpenLbFile file(ContainerWriter().AddRaw("A", ByteWriter().U32(9).Raw("xyz").Bytes()));
  std::string text = "abc";
  EXPECT_EQ(FailureOf([&] { file->Get("A", text); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(file->GetReadingBlock("A").GetPosition(), 4U);
}

TEST(LbFileGet, FailureOfALoad_IsNotAbsorbed) {
  OpenLbFile file(ContainerWriter().Add({.name = "A", .payload = "abcd", .storedSize = 5}));
  EXPECT_EQ(FailureOf([&] { file.Read<unsigned int>(); }), tevtest::UnableToRead());
}

/// Reads a value of a missing stream, which must stay as it is; the log lines that this left.
template <class T>
std::string AbsorbedLog(OpenLbFile& file, const T& before) {
  T value = before;
  static_cast<void>(tevtest::TakeErrorLog());
  file->Get("missing", value);
  EXPECT_EQ(value, before);
  return tevtest::TakeErrorLog();
}

TEST(LbFileGet, MissingStreamOfAnOpenFile_LeavesEveryTypeAndIsLogged) {
  OpenLbFile file("abcd");
  EXPECT_EQ(AbsorbedLog<unsigned char>(file, 7), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, true), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, 7U), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, 7.5F), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, 7UL), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog<std::string>(file, "abc"), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, std::vector<unsigned char>{1}), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, std::vector<unsigned int>{1}), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, std::vector<float>{1}), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, std::vector<double>{1}), kNotFoundLine);
  EXPECT_EQ(AbsorbedLog(file, std::vector<std::string>{"a"}), kNotFoundLine);
}

/// Reads raw bytes and characters of a missing stream; the log lines that this left.
std::string AbsorbedRawLog(OpenLbFile& file) {
  char bytes[] = "???";
  static_cast<void>(tevtest::TakeErrorLog());
  file->Get("missing", static_cast<void*>(bytes), 3);
  file->Get<char>("missing", bytes, 3);
  EXPECT_STREQ(bytes, "???");
  EXPECT_TRUE(file->GetBytes("missing", 3).empty());
  return tevtest::TakeErrorLog();
}

TEST(LbFileGet, MissingStream_LeavesRawBytesWhetherOpenOrClosed) {
  OpenLbFile file("abcd");
  const std::string threeLines = std::string(kNotFoundLine) + kNotFoundLine + kNotFoundLine;
  EXPECT_EQ(AbsorbedRawLog(file), threeLines);
  file->CloseFile();
  EXPECT_EQ(AbsorbedRawLog(file), threeLines);
}

template <class T>
void ExpectNotFound(OpenLbFile& file, const T& before) {
  T value = before;
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { file->Get("missing", value); }), tevtest::NotFound());
  EXPECT_EQ(tevtest::TakeErrorLog(), kNotFoundLine);
  EXPECT_EQ(value, before);
}

TEST(LbFileGet, MissingStreamOfAClosedFile_IsThrownForEveryType) {
  OpenLbFile file("abcd");
  file.Read<unsigned char>();
  file->CloseFile();
  ExpectNotFound<unsigned char>(file, 7);
  ExpectNotFound(file, true);
  ExpectNotFound(file, 7U);
  ExpectNotFound(file, 7.5F);
  ExpectNotFound(file, 7UL);
  ExpectNotFound<std::string>(file, "abc");
  ExpectNotFound(file, std::vector<unsigned int>{1});
  ExpectNotFound(file, std::vector<std::string>{"a"});
}

TEST(LbFileGet, ClosedFileThatWasNeverRead_HasNoStreams) {
  OpenLbFile file("abcd");
  file->CloseFile();
  ExpectNotFound(file, 7U);
  EXPECT_EQ(FailureOf([&] { file.Read<unsigned int>(); }), tevtest::NotFound());
  char byte = '?';
  file->Get<char>("A", &byte, 1);
  EXPECT_EQ(byte, '?');
}

TEST(LbFileGet, ClosedFile_ServesWhatIsInMemoryAndNoMore) {
  OpenLbFile file(ContainerWriter().AddRaw("A", "abcd").AddRaw("A", "efgh"));
  EXPECT_EQ(file.Read<unsigned char>(), 'a');
  file->CloseFile();
  EXPECT_EQ(file.Read<unsigned char>(), 'b');
  char bytes[] = "??";
  file->Get<char>("A", bytes, 2);
  EXPECT_STREQ(bytes, "cd");
  EXPECT_EQ(FailureOf([&] { file.Read<unsigned char>(); }), tevtest::NotFound());
  file->Get<char>("A", bytes, 1);
  EXPECT_STREQ(bytes, "cd");
}

TEST(LbFileGet, ClosedFile_StillFailsForLackOfBytes) {
  OpenLbFile file("abcdef");
  file.Read<unsigned char>();
  file->CloseFile();
  EXPECT_EQ(FailureOf([&] { file.Read<unsigned long>(); }), tevtest::NotEnoughBytes());
}

TEST(LbFileGet, GetBytes_LooksIntoTheBlock) {
  OpenLbFile file("abcdef");
  const auto bytes = file->GetBytes("A", 4);
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "abcd");
  EXPECT_EQ(file->GetReadingBlock("A").GetRemaining(), 2U);
}

TEST(LbFileGet, GetBytes_OfMoreThanThereAre_Fails) {
  OpenLbFile file("abcdef");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file->GetBytes("A", 7)); }),
            tevtest::NotEnoughBytes());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file->GetBytes("A", 0x100000001UL)); }),
            tevtest::NotEnoughBytes());
  EXPECT_EQ(file->GetReadingBlock("A").GetPosition(), 0U);
}

TEST(LbFileGet, GetReadingBlock_OfAMissingStream_IsNotFound) {
  OpenLbFile file("abc");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file->GetReadingBlock("missing")); }),
            tevtest::NotFound());
}

}  // namespace
}  // namespace LbtLbf
