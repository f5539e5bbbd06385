#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "run/TevRun.h"
#include "support/Hex.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

/// A pseudo-terminal: what a program writes to "slave" is read from the master.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    if (grantpt(master_) != 0 || unlockpt(master_) != 0) {
      throw std::runtime_error("no pseudo-terminal");
    }
    slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
  }
  ~Terminal() {
    close(slave_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void SetColumns(unsigned short columns) const {
    const winsize size{24, columns, 0, 0};
    ASSERT_EQ(ioctl(slave_, TIOCSWINSZ, &size), 0);
  }

  [[nodiscard]] int Slave() const { return slave_; }

  /// All that has been written so far.
  [[nodiscard]] std::string Written() const {
    std::string text;
    std::array<char, 4096> piece{};
    for (ssize_t count = 0; (count = read(master_, piece.data(), piece.size())) > 0;) {
      text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int master_;
  int slave_ = -1;
};

class TevFiles : public TevRun {
 protected:
  [[nodiscard]] std::string OnTerminal(const std::vector<std::string>& arguments,
                                       unsigned short columns = 80) const {
    const Terminal terminal;
    terminal.SetColumns(columns);
    RunOptions options;
    options.error = Redirect::ToDescriptor(terminal.Slave());
    static_cast<void>(Run(arguments, options));
    return terminal.Written();
  }
};

TEST_F(TevFiles, MissingFile_IsNamedAndTheOthersAreDone) {
  Write("a.tev", SmallModel());
  Write("b.tev", SmallModel());
  const RunResult run = Run({"ls", "a.tev", "missing.tev", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: missing.tev: Unable to open file \"missing.tev\"\n");
  EXPECT_EQ(run.output, Answer({"ls", "a.tev", "b.tev"}));
}

TEST_F(TevFiles, EachFileThatFails_IsNamedWithItsReason) {
  dir.Write("text.tev", "no model");
  dir.Write("new.tev", ContainerWriter().SetVersion("1.4").Build().bytes);
  dir.Write("cut.tev", Hex("89 'LBF' 0d0a1a0a '1.3' 00"));
  dir.MakeDirectory("folder");
  const RunResult run = Run({"info", "text.tev", "new.tev", "cut.tev", "folder"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "tev: text.tev: text.tev is not a Tev file\n"
            "tev: new.tev: This file is of tev file version 14. This version of Quarlo only "
            "supports tev file version upto 13.\n"
            "tev: cut.tev: Not enough bytes in the block\n"
            "tev: folder: folder is not a Tev file\n");
}

TEST_F(TevFiles, BlockThatZlibRefuses_IsNamedByNumberAndStream) {
  ContainerWriter container = SmallModel().ToContainer();
  std::size_t number = 0;
  while (container.Blocks().at(number).name != kLightData) {
    ++number;
  }
  container.Blocks()[number].storedBytes = Hex("10000000 'no zlib stream'");
  container.Blocks()[number].compressed = true;
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"tree", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "Error -3 while uncompressing block \n"
            "tev: a.tev: zlib refuses the data of block " +
                std::to_string(number) + " (Light Data)\n");
}

TEST_F(TevFiles, SecondIndexThatZlibRefuses_IsNamedToo) {
  ContainerWriter container;
  container.AddRaw("A", "1").AddRaw("B", "2");
  container.ContinueAfter({.after = 1,
                           .block = {.name = "\vIndex Block 1",
                                     .compressed = true,
                                     .storedBytes = Hex("10000000 'no zlib stream'")}});
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"ls", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "Error -3 while uncompressing block \n"
            "tev: a.tev: zlib refuses the data of block 1 (\\x0bIndex Block 1)\n");
}

TEST_F(TevFiles, ShapeWhoseFirstChildIsNoGeometry_FailsAndTheOthersAreDone) {
  ModelWriter broken = SmallModel();
  broken.At(kSmallShape1).firstChild = kSmallNodeSets;
  Write("broken.tev", broken);
  Write("a.tev", SmallModel());
  const RunResult run = Run({"info", "broken.tev", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: broken.tev: the first child of a shape is no geometry\n");
  EXPECT_EQ(run.output, Answer({"info", "a.tev"}));
}

TEST_F(TevFiles, ShapeWithoutAGeometry_FailsInsteadOfGivingHalfOfTheFacts) {
  ModelWriter model;
  model.AddShape("Lonely", model.AddGroup("root", 0));
  Write("a.tev", model);
  const RunResult run = Run({"info", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error, "tev: a.tev: Element Not Found\n");
}

TEST_F(TevFiles, ControlCharactersInAPath_DoNotReachTheTerminal) {
  const std::string name = "a\x1b[31m\n.tev";
  Write(name, SmallModel());
  EXPECT_TRUE(Answer({"ls", name}).starts_with("a\\x1b[31m\\x0a.tev\n"));
}

TEST_F(TevFiles, Json_HasOneShapeForOneFileForManyAndForNone) {
  dir.Write("a.tev", ContainerWriter().Build().bytes);
  const std::string object =
      "    {\n"
      "      \"file\": \"a.tev\",\n"
      "      \"fileBytes\": 20,\n"
      "      \"version\": \"1.3\",\n"
      "      \"index\": {\n"
      "        \"offset\": 16,\n"
      "        \"bytes\": 4\n"
      "      },\n"
      "      \"blocks\": [],\n"
      "      \"streams\": [],\n"
      "      \"totals\": {\n"
      "        \"blocks\": 0,\n"
      "        \"storedBytes\": 0,\n"
      "        \"inflatedBytes\": 0,\n"
      "        \"ratio\": null\n"
      "      }\n"
      "    }";
  const std::string start = "{\n  \"command\": \"ls\",\n  \"files\": [";
  const std::string end = "\n  ],\n  \"failures\": []\n}\n";
  EXPECT_EQ(Answer({"ls", "--json", "a.tev"}), start + "\n" + object + end);
  EXPECT_EQ(Answer({"ls", "--json", "a.tev", "a.tev"}),
            start + "\n" + object + ",\n" + object + end);
  EXPECT_EQ(Run({"ls", "--json", "x"}).output,
            start +
                "],\n  \"failures\": [\n    {\n      \"file\": \"x\",\n      \"reason\": \"Unable "
                "to open file \\\"x\\\"\"\n    }\n  ]\n}\n");
}

TEST_F(TevFiles, SeveralFilesOnATerminal_ShowOneLineThatIsClearedAtTheEnd) {
  Write("a.tev", SmallModel());
  Write("b.tev", SmallModel());
  EXPECT_EQ(OnTerminal({"ls", "a.tev", "b.tev"}),
            "\r\x1b[K0 of 2 files done, at work on a.tev\r\r\x1b[K"
            "\r\x1b[K1 of 2 files done, at work on b.tev\r\r\x1b[K");
}

TEST_F(TevFiles, FailureOnATerminal_StandsOnALineOfItsOwn) {
  EXPECT_EQ(OnTerminal({"ls", "x", "y"}),
            "\r\x1b[K0 of 2 files done, at work on x\r\r\x1b[K"
            "tev: x: Unable to open file \"x\"\r\n"
            "\r\x1b[K1 of 2 files done, at work on y\r\r\x1b[K"
            "tev: y: Unable to open file \"y\"\r\n");
}

TEST_F(TevFiles, NarrowTerminal_CutsTheLine) {
  Write("a.tev", SmallModel());
  const std::string written = OnTerminal({"ls", "a.tev", "a.tev"}, 21);
  EXPECT_TRUE(written.starts_with("\r\x1b[K0 of 2 files done, a\r\r\x1b[K")) << written;
}

TEST_F(TevFiles, OneFileOnATerminal_ShowsNoProgress) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(OnTerminal({"ls", "a.tev"}), "");
}

}  // namespace
}  // namespace tevtest
