// Folders of very many models: memory, order, and the broken ones among them.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

#if defined(TEVTEST_SANITIZED) || defined(TEVTEST_COUNTED)
constexpr std::size_t kFiles = 2000;  // each of which takes many times as long there
#else
constexpr std::size_t kFiles = 100000;
#endif

[[maybe_unused]] constexpr rlim_t kMostBytes = 40U * 1024 * 1024;

/// Names of one length, so that their order is that of their numbers.
std::string NameOf(std::size_t number) {
  const std::string digits = std::to_string(number);
  return "m" + std::string(6 - digits.size(), '0') + digits;
}

/// What is to be told of a file.
struct Expected {
  std::string path;
  std::string code;  ///< of its failure; empty for none
};

/// A folder of linked copies of a model, with broken files in place of some.
class TevManyFiles : public TevRun {
 protected:
  TevManyFiles() {
    dir.MakeDirectory("d");
    constexpr std::size_t kMostLinks = 60000;  // ext4 allows a file 65,000
    const std::string bytes = SmallModel().Build();
    std::string original;
    for (std::size_t i = 0; i < kFiles; ++i) {
      if (i % kMostLinks == 0) {
        original = dir.Write("original" + std::to_string(i), bytes);
      }
      fs::create_hard_link(original, dir / ("d/" + NameOf(i)));
      expected.push_back({"d/" + NameOf(i), ""});
    }
  }

  void Break(std::size_t number, const std::string& bytes, const std::string& code) {
    fs::remove(dir / ("d/" + NameOf(number)));
    dir.Write("d/" + NameOf(number), bytes);
    expected[number].code = code;
  }

  /// Ten in all: seven of the folder, and three that are named.
  void BreakTen() {
    ContainerWriter container = SmallModel().ToContainer();
    for (BlockSpec& block : container.Blocks()) {
      block.compressed = true;
    }
    const Container whole = container.Build();
    const BlockPlace& tree = whole.Block(kTree);
    std::string flipped = whole.bytes;
    flipped[tree.offset + tree.storedSize / 2] ^= 0x55;  // the check sum tells
    Break(0, whole.bytes.substr(0, kSignature.size()), "damaged");
    Break(1, whole.bytes.substr(0, whole.bytes.size() / 2), "damaged");
    Break(kFiles / 2, whole.bytes.substr(0, whole.bytes.size() - 1), "damaged");
    Break(kFiles / 3, flipped, "damaged");
    Break(kFiles - 2, flipped, "damaged");
    for (const std::size_t number : {kFiles / 4, kFiles - 1}) {
      Break(number, whole.bytes, "permission-denied");
      fs::permissions(dir / ("d/" + NameOf(number)), fs::perms::none);
    }
    dir.Write("text", "no model");
    dir.Write("empty", "");
    expected.push_back({"text", "not-a-model"});
    expected.push_back({"empty", "not-a-model"});
    expected.push_back({"missing", "not-found"});
  }

  std::vector<Expected> expected;
};

/// How a line begins for a file.
std::string StartOf(const std::string& verb, const Expected& file) {
  return R"({"format": "tev.)" + verb + R"(/1", "file": ")" + file.path + R"(", "failure": )" +
         (file.code.empty() ? "null" : R"({"code": ")" + file.code + '"') + ", ";
}

TEST_F(TevManyFiles, BrokenOnesAmongThem_ComeOutInPlaceInBoundedMemory) {
  BreakTen();
  dir.OpenToAll(false);
  fs::permissions(dir / "d", fs::perms(0755));
  for (const std::string verb : {"list", "info"}) {
    const std::string answer = dir / (verb + ".jsonl");
    RunOptions options{.workingDirectory = dir.Path(),
                       .output = Redirect::To(answer),
                       .hooks = {RunAsUnprivileged}};
#if !defined(TEVTEST_SANITIZED)
    // A peak would never be below that of this program, which other tests may have grown.
    options.hooks.push_back(Limit(RLIMIT_DATA, kMostBytes));
#endif
    const RunResult run =
        RunProgram({TEV_PROGRAM, verb, "--jsonl", "d", "text", "empty", "missing"}, options);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(std::count(run.error.begin(), run.error.end(), '\n'), 10) << "a line for each:\n"
                                                                        << run.error;
    std::ifstream lines(answer);
    std::size_t wrong = 0;
    std::string firstWrong;
    std::string line;
    for (const Expected& file : expected) {
      if (!std::getline(lines, line) || !line.starts_with(StartOf(verb, file))) {
        ++wrong;
        firstWrong = firstWrong.empty() ? StartOf(verb, file) + "\n" + line : firstWrong;
      }
    }
    EXPECT_EQ(wrong, 0U) << firstWrong;
    EXPECT_FALSE(std::getline(lines, line)) << line;
  }
}

}  // namespace
}  // namespace tevtest
