// Files and folders that take the place of others when they are complete.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cstring>
#include <filesystem>

#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "Lbt/Util/Exception.h"
#include "support/TempDir.h"

namespace LbtTev::Exchange {
namespace {

namespace fs = std::filesystem;
using tevtest::ReadFile;
using tevtest::TempDir;

std::size_t EntriesIn(const fs::path& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(ReplacedFile, Committed_TakesThePlaceAndTheMode) {
  const TempDir dir;
  const std::string path = dir.Write("a", "old");
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  ReplacedFile file(path);
  file.Stream() << "new";
  file.Finish();
  EXPECT_EQ(ReadFile(path), "old");
  file.Commit();
  EXPECT_EQ(ReadFile(path), "new");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms{0640});
  EXPECT_EQ(EntriesIn(dir.Path()), 1U);
}

TEST(ReplacedFile, NotCommitted_LeavesNothing) {
  const TempDir dir;
  const std::string path = dir.Write("a", "old");
  {
    ReplacedFile file(path);
    file.Stream() << "new";
    file.Finish();
    EXPECT_EQ(EntriesIn(dir.Path()), 2U);
  }
  EXPECT_EQ(ReadFile(path), "old");
  EXPECT_EQ(EntriesIn(dir.Path()), 1U);
}

TEST(ReplacedFile, ThroughALink_LeavesTheLink) {
  const TempDir dir;
  dir.Write("a", "old");
  fs::create_symlink("a", dir / "link");
  ReplacedFile file(dir / "link");
  file.Stream() << "new";
  file.Finish();
  file.Commit();
  EXPECT_TRUE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadFile(dir / "a"), "new");
}

TEST(ReplacedFile, InPlaceOfSomethingElse_IsRefused) {
  const TempDir dir;
  EXPECT_THROW(ReplacedFile{"/dev/null"}, Lbt::Util::Exception);
  EXPECT_THROW(ReplacedFile{dir.Path().string()}, Lbt::Util::Exception);
  EXPECT_THROW(ReplacedFile{dir / "none/a"}, Lbt::Util::Exception);
}

TEST(ReplacedFolder, OfItsOwnFiles_IsReplacedAsAWhole) {
  const TempDir dir;
  fs::create_directory(dir / "f");
  dir.Write("f/old.vtu", "old");
  ReplacedFolder folder(dir / "f", ".vtu");
  tevtest::WriteFile(folder.Path() + "/new.vtu", "new");
  EXPECT_EQ(EntriesIn(dir / "f"), 1U);
  folder.Commit();
  EXPECT_EQ(ReadFile(dir / "f/new.vtu"), "new");
  EXPECT_FALSE(fs::exists(dir / "f/old.vtu"));
}

TEST(ReplacedFolder, WithOtherFiles_IsRefused) {
  const TempDir dir;
  fs::create_directory(dir / "f");
  dir.Write("f/thesis.txt", "mine");
  EXPECT_THROW((ReplacedFolder{dir / "f", ".vtu"}), Lbt::Util::Exception);
  dir.Write("g", "a file");
  EXPECT_THROW((ReplacedFolder{dir / "g", ".vtu"}), Lbt::Util::Exception);
  EXPECT_EQ(EntriesIn(dir.Path()), 2U);
}

TEST(Spool, TakesBytesInAnyOrder) {
  const TempDir dir;
  Spool spool(dir / "a");
  constexpr std::array<unsigned char, 3> kBytes{1, 2, 3};
  spool.Write(7, std::as_bytes(std::span(kBytes)));
  spool.Write(4, std::as_bytes(std::span(kBytes)));
  std::array<unsigned char, 10> all{};
  spool.Read(0, std::as_writable_bytes(std::span(all)));
  EXPECT_EQ(all, (std::array<unsigned char, 10>{0, 0, 0, 0, 1, 2, 3, 1, 2, 3}));
  EXPECT_EQ(EntriesIn(dir.Path()), 0U) << "it has no name";
}

}  // namespace
}  // namespace LbtTev::Exchange
