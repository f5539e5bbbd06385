// Opening and closing a container file, its header, and when its index is read.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "LbfSupport.h"
#include "Lbt/Lbf/LbFile.h"
#include "support/ContainerWriter.h"
#include "support/Mask.h"
#include "support/TempDir.h"

namespace LbtLbf {
namespace {

using tevtest::ContainerWriter;
using tevtest::ExpectedException;
using tevtest::FailureOf;
using tevtest::kLbFileHeader;
using tevtest::TempDir;

class LbFileTest : public testing::Test {
 protected:
  void Open(std::string_view bytes) { file_.OpenFile(directory_.Write("a.tev", bytes), "rb"); }
  void Open(const ContainerWriter& writer) { Open(writer.Build().bytes); }

  std::string OpeningFailure(const std::string& path) {
    return FailureOf([&] { file_.OpenFile(path, "rb"); });
  }

  static std::string CannotOpen(const std::string& path) {
    return ExpectedException("Miscelleneous Error", "Unable to open file \"" + path + '"',
                             kLbFileHeader);
  }

  static ContainerWriter Writer() { return ContainerWriter().AddRaw("A", "abcdef"); }

  std::string Read(std::size_t length) {
    std::string bytes(length, '?');
    file_.Get("A", bytes.data(), length);
    return bytes;
  }

  TempDir directory_;
  LbFile file_;
};

static_assert(std::has_virtual_destructor_v<LbFile>);

TEST_F(LbFileTest, AtFirst_IsClosedWithoutAnIndex) {
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_TRUE(file_.GetIndex().IsEmpty());
  EXPECT_FALSE(file_.GetIdentity().has_value());
}

TEST_F(LbFileTest, OpenFile_LogsAndReadsNothing) {
  static_cast<void>(tevtest::TakeLog());
  Open(Writer());
  EXPECT_TRUE(file_.IsOpen());
  EXPECT_TRUE(file_.GetIndex().IsEmpty());
  EXPECT_EQ(tevtest::TakeLog(), "");
}

TEST_F(LbFileTest, OpenFile_OfAMissingFile_Fails) {
  const std::string path = directory_ / "missing.tev";
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(OpeningFailure(path), CannotOpen(path));
  EXPECT_EQ(tevtest::TakeErrorLog(), "LbFile : # @ Unable to open file \"" + path + "\"\n");
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(LbFileTest, OpenFile_OfAnEmptyPath_Fails) { EXPECT_EQ(OpeningFailure(""), CannotOpen("")); }

TEST_F(LbFileTest, OpenFile_Twice_FailsAndKeepsTheFirst) {
  Open(Writer());
  const std::string other = directory_.Write("b.tev", ContainerWriter().Build().bytes);
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(
      OpeningFailure(other),
      ExpectedException("Miscelleneous Error", "File stream is already in use", kLbFileHeader));
  EXPECT_EQ(tevtest::TakeErrorLog(), "LbFile : # @ File stream is already in use\n");
  EXPECT_EQ(Read(3), "abc");
}

TEST_F(LbFileTest, OpenFile_OfAPipeThatNobodyWritesTo_DoesNotBlock) {
  const std::string path = directory_ / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  file_.OpenFile(path, "rb");
  EXPECT_TRUE(file_.IsOpen());
  EXPECT_FALSE(file_.HasSignature());
}

TEST_F(LbFileTest, OpenFile_NeverChangesTheFile) {
  const std::string bytes = Writer().Build().bytes;
  const std::string path = directory_.Write("a.tev", bytes);
  EXPECT_EQ(FailureOf([&] { file_.OpenFile(path, "wb"); }), CannotOpen(path));
  EXPECT_EQ(directory_.Read("a.tev"), bytes);
}

TEST_F(LbFileTest, CloseFile_IsTraced) {
  Open(Writer());
  static_cast<void>(tevtest::TakeLog());
  static_cast<void>(tevtest::TakeErrorLog());
  file_.CloseFile();
  EXPECT_EQ(tevtest::TakeLog(), "LbFile : # @ Closing file ...\nLbFile : # @ File closed.\n");
  EXPECT_EQ(tevtest::TakeErrorLog(), "");
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(LbFileTest, CloseFile_WithoutAnOpenFile_LogsTheFirstLineOnly) {
  static_cast<void>(tevtest::TakeLog());
  file_.CloseFile();
  EXPECT_EQ(tevtest::TakeLog(), "LbFile : # @ Closing file ...\n");
}

TEST_F(LbFileTest, Destructor_ClosesTheFile) {
  auto file = std::make_unique<LbFile>();
  file->OpenFile(directory_.Write("a.tev", Writer().Build().bytes), "rb");
  static_cast<void>(tevtest::TakeLog());
  file.reset();
  EXPECT_EQ(tevtest::TakeLog(), "LbFile : # @ Closing file ...\nLbFile : # @ File closed.\n");
}

TEST_F(LbFileTest, CloseFile_KeepsTheIndexAndTheBlocks) {
  Open(Writer());
  EXPECT_EQ(Read(2), "ab");
  file_.CloseFile();
  EXPECT_EQ(file_.GetIndex().GetItems().size(), 1U);
  EXPECT_EQ(Read(4), "cdef");
}

TEST_F(LbFileTest, AfterClosing_CanBeOpenedAgain) {
  Open(Writer());
  file_.CloseFile();
  Open(Writer());
  EXPECT_EQ(Read(3), "abc");
}

TEST_F(LbFileTest, Signature_IsThatOfTheFormat) {
  EXPECT_EQ(LbFile::kSignature, std::string_view("\x89LBF\x0D\x0A\x1A\x0A", 8));
  Open(Writer());
  EXPECT_TRUE(file_.HasSignature());
}

TEST_F(LbFileTest, SignatureWithAnyOtherByte_IsNone) {
  const std::string bytes = Writer().Build().bytes;
  for (std::size_t i = 0; i < 8; ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 1);
    Open(damaged);
    EXPECT_FALSE(file_.HasSignature()) << i;
    file_.CloseFile();
    damaged[i] = '\0';
    Open(damaged);
    EXPECT_FALSE(file_.HasSignature()) << i;
    file_.CloseFile();
  }
}

TEST_F(LbFileTest, FileShorterThanTheSignature_HasNone) {
  for (std::size_t length = 0; length < 8; ++length) {
    Open(LbFile::kSignature.substr(0, length));
    EXPECT_FALSE(file_.HasSignature()) << length;
    file_.CloseFile();
  }
}

TEST_F(LbFileTest, FileThatIsOnlyASignature_HasItAndNoVersion) {
  Open(LbFile::kSignature);
  EXPECT_TRUE(file_.HasSignature());
  EXPECT_EQ(file_.ReadVersion(), "");
}

TEST_F(LbFileTest, Directory_HasNoSignature) {
  file_.OpenFile(directory_.Path(), "rb");
  EXPECT_FALSE(file_.HasSignature());
}

TEST_F(LbFileTest, Version_IsReadUpToItsNul) {
  Open(Writer().SetVersion("1.3"));
  EXPECT_EQ(file_.ReadVersion(), "1.3");
}

TEST_F(LbFileTest, VersionOfFourCharacters_NeedsNoNul) {
  Open(Writer().SetVersion("1.25"));
  EXPECT_EQ(file_.ReadVersion(), "1.25");
}

TEST_F(LbFileTest, VersionCutByTheEndOfTheFile_IsWhatIsThere) {
  Open(std::string(LbFile::kSignature) + "1.");
  EXPECT_EQ(file_.ReadVersion(), "1.");
}

TEST_F(LbFileTest, FailureToReadTheHeader_IsAReadError) {
  file_.OpenFile(directory_.Path(), "rb");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file_.ReadVersion()); }),
            tevtest::UnableToRead(kLbFileHeader));
  EXPECT_EQ(FailureOf([&] { file_.ReadIndex(); }), tevtest::UnableToRead(kLbFileHeader));
}

// Contents that were kept are those of the file that is closed now.
TEST_F(LbFileTest, AnotherFileUnderTheSameIndex_IsReadAnew) {
  const auto writer = [](const std::string& first) {
    return ContainerWriter().AddCompressed("A", first).AddCompressed("A", "0123456789");
  };
  Open(writer("abcdef"));
  static_cast<void>(Read(1));
  for (const unsigned long offset : {7UL, 0UL, 7UL}) {
    file_.SetBlockPosition("A", offset);
  }
  file_.CloseFile();
  Open(writer("ghijkl"));
  file_.SetBlockPosition("A", 0);
  EXPECT_EQ(Read(6), "ghijkl");
}

TEST_F(LbFileTest, HeaderOfAClosedFile_IsAReadError) {
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file_.HasSignature()); }),
            tevtest::UnableToRead(kLbFileHeader));
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file_.ReadVersion()); }),
            tevtest::UnableToRead(kLbFileHeader));
}

TEST_F(LbFileTest, HeaderOfAPipe_IsAReadError) {
  const std::string path = directory_ / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  file_.OpenFile(path, "rb");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file_.ReadVersion()); }),
            tevtest::UnableToRead(kLbFileHeader));
  EXPECT_EQ(FailureOf([&] { file_.ReadIndex(); }), tevtest::UnableToRead(kLbFileHeader));
}

TEST_F(LbFileTest, ReadStored_GivesWhatTheFileHas) {
  const std::string bytes = Writer().Build().bytes;
  Open(bytes);
  std::array<unsigned char, 4> room{};
  EXPECT_EQ(file_.ReadStored(0, room), 4U);
  EXPECT_EQ(std::string(room.begin(), room.end()), bytes.substr(0, 4));
  EXPECT_EQ(file_.ReadStored(bytes.size() - 1, room), 1U);
  EXPECT_EQ(file_.ReadStored(bytes.size() + 1, room), 0U);
}

TEST_F(LbFileTest, ReadStored_WhereNothingCanBeRead_IsAReadError) {
  std::array<unsigned char, 4> room{};
  const auto failureAt = [&](std::uint64_t offset) {
    return FailureOf([&] { static_cast<void>(file_.ReadStored(offset, room)); });
  };
  EXPECT_EQ(failureAt(0), tevtest::UnableToRead(kLbFileHeader));  // no file is open
  file_.OpenFile(directory_.Path(), "rb");
  EXPECT_EQ(failureAt(0), tevtest::UnableToRead(kLbFileHeader));
  EXPECT_EQ(failureAt(~std::uint64_t{0}), tevtest::UnableToRead(kLbFileHeader));
}

TEST_F(LbFileTest, GetIdentity_IsThatOfTheFile) {
  Open(Writer());
  struct stat status {};
  ASSERT_EQ(stat((directory_ / "a.tev").c_str(), &status), 0);
  ASSERT_TRUE(file_.GetIdentity().has_value());
  EXPECT_EQ(file_.GetIdentity()->inode, status.st_ino);
  EXPECT_EQ(file_.GetIdentity()->device, status.st_dev);
}

struct Support {
  bool wideOffsets;
  std::string failure;
};

/// Checks a version, with the flag set the wrong way round before.
Support SupportOf(const std::string& version, bool before) {
  bool wideOffsets = before;
  std::string failure = FailureOf([&] { LbFile::CheckSupport(version, wideOffsets); });
  return {wideOffsets, std::move(failure)};
}

std::string Unsupported(std::string_view tenths) {
  return ExpectedException("Unknown Version",
                           "This file is of tev file version " + std::string(tenths) +
                               ".\nThis version of Quarlo only supports tev file version upto "
                               "13.\n",
                           kLbFileHeader);
}

void ExpectSupported(const std::string& version, bool wideOffsets) {
  const Support support = SupportOf(version, !wideOffsets);
  EXPECT_EQ(support.failure, "") << version;
  EXPECT_EQ(support.wideOffsets, wideOffsets) << version;
}

void ExpectUnsupported(const std::string& version, std::string_view tenths) {
  const Support support = SupportOf(version, false);
  EXPECT_EQ(support.failure, Unsupported(tenths)) << version;
  EXPECT_TRUE(support.wideOffsets) << version;
}

TEST(CheckSupport, VersionsBelow07_AreSupportedAndOld) {
  ExpectSupported("0.6", false);
  ExpectSupported("0.0a", false);
  ExpectSupported("0.1b", false);
}

TEST(CheckSupport, VersionsFrom07To13_AreSupported) {
  ExpectSupported("0.7", true);
  ExpectSupported("1.0", true);
  ExpectSupported("1.25", true);
  ExpectSupported("1.3", true);
  ExpectSupported("1.3a", true);
}

TEST(CheckSupport, LaterVersions_FailWithTenthsAndTheFlagSet) {
  ExpectUnsupported("1.4", "14");
  ExpectUnsupported("2.0", "20");
  ExpectUnsupported("10", "100");
}

TEST(CheckSupport, TextWithoutANumber_IsVersionZero) {
  ExpectSupported("", false);
  ExpectSupported("abc", false);
}

TEST(CheckSupport, NumbersThatNoVersionCanBe_AreUnsupported) {
  ExpectUnsupported("nan", "4294967295");
  ExpectUnsupported("inf", "4294967295");
  ExpectUnsupported("-1", "4294967295");
  ExpectUnsupported("1e99", "4294967295");
}

TEST(CheckSupport, Failure_IsLoggedWithTheSameText) {
  static_cast<void>(tevtest::TakeErrorLog());
  static_cast<void>(SupportOf("1.4", false));
  EXPECT_EQ(tevtest::TakeErrorLog(),
            "LbFile : # @ This file is of tev file version 14.\n"
            "This version of Quarlo only supports tev file version upto 13.\n\n");
}

TEST_F(LbFileTest, CheckSupport_ThatFails_LeavesTheFileOpen) {
  Open(Writer().SetVersion("1.4"));
  bool wideOffsets = false;
  EXPECT_EQ(FailureOf([&] { file_.CheckSupport(file_.ReadVersion(), wideOffsets); }),
            Unsupported("14"));
  EXPECT_TRUE(file_.IsOpen());
}

TEST(TevFileVersion, AtFirst_IsTheNewest) { EXPECT_EQ(tev_file_version, "1.3"); }

constexpr const char* kIndexTrace =
    "LbFile : # @ Reading index positions ... \n"
    "Index : # @ Reading index block ... \n"
    "Index : # @ Index block read. \n"
    "LbFile : # @ Index read. \n";

TEST_F(LbFileTest, FirstRead_ReadsTheIndexAndLaterOnesDoNot) {
  Open(Writer());
  static_cast<void>(tevtest::TakeLog());
  EXPECT_EQ(Read(1), "a");
  EXPECT_EQ(tevtest::TakeLog(), kIndexTrace);
  EXPECT_EQ(Read(1), "b");
  EXPECT_EQ(tevtest::TakeLog(), "");
}

TEST_F(LbFileTest, IndexOfCountZero_IsReadAgainAtEveryNamedRead) {
  Open(ContainerWriter());
  static_cast<void>(tevtest::TakeLog());
  for (int read = 0; read < 2; ++read) {
    EXPECT_EQ(Read(1), "?");
    EXPECT_EQ(tevtest::TakeLog(), std::string(kIndexTrace) + "Index : # @ Element Not Found\n");
  }
  unsigned int value = 7;
  file_.Get("A", value);
  EXPECT_EQ(value, 7U);
  EXPECT_EQ(tevtest::TakeLog(), std::string(kIndexTrace) + "Index : # @ Element Not Found\n");
}

TEST_F(LbFileTest, FileThatEndsBeforeTheIndexSize_HasNotEnoughBytes) {
  Open(Writer().TruncateTo(12));
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(Read(1)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Not enough bytes in the block\n");
}

// Some of its bytes are no size either.
TEST_F(LbFileTest, FileThatEndsWithinTheIndexSize_HasNotEnoughBytes) {
  for (const std::size_t size : {13U, 14U, 15U}) {
    LbFile file;
    file.OpenFile(directory_.Write("cut", Writer().TruncateTo(size).Build().bytes), "rb");
    EXPECT_EQ(FailureOf([&] { file.ReadIndex(); }), tevtest::NotEnoughBytes()) << size;
    EXPECT_EQ(file.GetIndex().GetIndexSize(), 0U);
  }
}

TEST_F(LbFileTest, FileThatEndsWithinTheIndex_CannotBeRead) {
  Open(Writer().TruncateTo(20));
  EXPECT_EQ(FailureOf([&] { static_cast<void>(Read(1)); }), tevtest::UnableToRead());
  EXPECT_TRUE(file_.GetIndex().IsEmpty());
}

TEST_F(LbFileTest, IndexThatClaimsMoreEntries_HasNotEnoughBytesAtEveryRead) {
  Open(Writer().SetIndexCount(2));
  for (int read = 0; read < 2; ++read) {
    EXPECT_EQ(FailureOf([&] { static_cast<void>(Read(1)); }), tevtest::NotEnoughBytes());
    EXPECT_TRUE(file_.GetIndex().IsEmpty());
  }
}

TEST_F(LbFileTest, ReadIndex_WithoutAnOpenFile_IsAReadError) {
  EXPECT_EQ(FailureOf([&] { file_.ReadIndex(); }), tevtest::UnableToRead(kLbFileHeader));
}

TEST_F(LbFileTest, SeekBeforeTheFirstRead_FindsAnEmptyStream) {
  Open(Writer());
  file_.SetBlockPosition("A", 0);
  EXPECT_EQ(FailureOf([&] { file_.SetBlockPosition("A", 1); }), tevtest::InvalidPosition());
  static_cast<void>(tevtest::TakeLog());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(Read(1)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(tevtest::TakeLog(), "Block : # @ Not enough bytes in the block\n");
}

TEST_F(LbFileTest, SeekAfterTheFirstRead_FindsTheFilesStream) {
  Open(Writer());
  EXPECT_EQ(Read(0), "");
  file_.SetBlockPosition("A", 4);
  EXPECT_EQ(Read(2), "ef");
}

TEST_F(LbFileTest, SeekInAClosedFile_WorksInMemoryAndElseCannotRead) {
  Open(ContainerWriter().AddRaw("A", "abc").AddRaw("A", "de"));
  EXPECT_EQ(Read(3), "abc");
  file_.CloseFile();
  file_.SetBlockPosition("A", 1);
  EXPECT_EQ(Read(2), "bc");
  EXPECT_EQ(FailureOf([&] { file_.SetBlockPosition("A", 4); }), tevtest::UnableToRead());
}

}  // namespace
}  // namespace LbtLbf
