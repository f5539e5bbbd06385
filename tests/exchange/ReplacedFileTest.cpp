// Files and folders that take the place of others when they are complete.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
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

TEST(ReplacedFile, ReadOnlyOne_IsOpenToItsOwnerWhileItIsWritten) {
  const TempDir dir;
  const std::string path = dir.Write("a", "old");
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  ReplacedFile file(path);
  EXPECT_EQ(fs::status(file.Path()).permissions(), fs::perms{0644});
  file.Finish();
  file.Commit();
  EXPECT_EQ(fs::status(path).permissions(), fs::perms{0444});
}

TEST(ReplacedFile, InAPlaceThatCannotBeLookedAt_TellsWhy) {
  const TempDir dir;
  fs::create_symlink("loop", dir / "loop");
  for (const std::string& name : {std::string(300, 'a'), std::string("loop")}) {
    EXPECT_THROW(ReplacedFile{dir / name}, Lbt::Util::Exception);
    EXPECT_THROW((ReplacedFolder{dir / name, ".vtu"}), Lbt::Util::Exception);
  }
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
  dir.Write("f/f_12.vtu", "old");
  ReplacedFolder folder(dir / "f", ".vtu");
  tevtest::WriteFile(folder.Path() + "/f_0.vtu", "new");
  EXPECT_EQ(EntriesIn(dir / "f"), 1U);
  folder.Commit();
  EXPECT_EQ(ReadFile(dir / "f/f_0.vtu"), "new");
  EXPECT_FALSE(fs::exists(dir / "f/f_12.vtu"));
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

TEST(ReplacedFolder, WithFilesOfOtherNames_IsRefused) {
  for (const std::string name :
       {"mine.vtu", "f_.vtu", "f_1a.vtu", "f_1.vtk", "g_1.vtu", "f_1.vtu.vtu"}) {
    const TempDir dir;
    fs::create_directory(dir / "f");
    dir.Write("f/f_0.vtu", "an export's");
    dir.Write("f/" + name, "mine");
    EXPECT_THROW((ReplacedFolder{dir / "f", ".vtu"}), Lbt::Util::Exception) << name;
    EXPECT_EQ(ReadFile(dir / ("f/" + name)), "mine");
  }
}

/// What an export does that a signal comes to.
void WriteWhileSignalled(const TempDir& dir, int signal) {
  const ReplacedFile file(dir / "a");
  const ReplacedFolder folder(dir / "f", ".vtu");
  tevtest::WriteFile(folder.Path() + "/f_0.vtu", "new");
  Spool spool(dir / "a");
  std::raise(signal);
  spool.Write(0, std::as_bytes(std::span("new")));
}

TEST(HeldSignals, EndTheProgram_WhenNothingIsLeftBehind) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    const TempDir dir;
    EXPECT_EXIT(WriteWhileSignalled(dir, signal), testing::KilledBySignal(signal), "");
    EXPECT_EQ(EntriesIn(dir.Path()), 0U) << signal;
  }
}

TEST(HeldSignals, ThatAreIgnored_ChangeNothing) {
  const TempDir dir;
  const auto before = std::signal(SIGHUP, SIG_IGN);
  EXPECT_NO_THROW(WriteWhileSignalled(dir, SIGHUP));
  static_cast<void>(std::signal(SIGHUP, before));
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
