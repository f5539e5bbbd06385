// tev blocks: the blocks of a container.

#include <gtest/gtest.h>

#include <sstream>

#include "run/TevRun.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

using TevBlocks = TevRun;

/// The words of a line.
std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

/// The lines that have words, as these.
std::vector<std::vector<std::string>> Rows(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(stream, line);) {
    if (!Words(line).empty()) {
      rows.push_back(Words(line));
    }
  }
  return rows;
}

using Row = std::vector<std::string>;

TEST_F(TevBlocks, Text_ListsTheBlocksThenTheTotals) {
  // Payloads of powers of two, so that the ratios are known: 12 bytes stored for 24.
  ContainerWriter writer;
  writer.AddRaw("Tev Tree", "12345678");
  writer.Add(
      {.name = "Resources", .compressed = true, .storedBytes = Hex("18000000 0102030405060708")});
  writer.AddRaw("Tev Tree", "").AddRaw("Tev Tree", "1234");
  dir.Write("a.tev", writer.Build().bytes);
  // The index: 4 bytes for the count, 11 and the name for each of four entries.
  constexpr int kIndex = 4 + 4 * 11 + 3 * 8 + 9;
  const auto at = [](int offset) { return std::to_string(16 + kIndex + offset); };
  EXPECT_EQ(Rows(Answer({"blocks", "a.tev"})),
            (std::vector<Row>{
                {"a.tev"},
                {"Version", "1.3,", at(24), "bytes", "(" + at(24), "B),", "index", "of",
                 std::to_string(kIndex), "bytes", "at", "16"},
                {"Block", "Stream", "Stored", "Inflated", "Ratio", "Offset", "Compression"},
                {"0", "Tev", "Tree", "8", "8", "1.00", at(0), "none"},
                {"1", "Resources", "12", "24", "2.00", at(8), "zlib"},
                {"2", "Tev", "Tree", "0", "0", "-", at(20), "none"},
                {"3", "Tev", "Tree", "4", "4", "1.00", at(20), "none"},
                {"Stream", "Blocks", "Stored", "Inflated", "Ratio"},
                {"Tev", "Tree", "3", "12", "12", "1.00"},
                {"Resources", "1", "12", "24", "2.00"},
                {"(all)", "4", "24", "36", "1.50"},
            }));
}

TEST_F(TevBlocks, Columns_StandUnderTheirHeadings) {
  dir.Write("a.tev", ContainerWriter().AddRaw("K\xc3\xbchl", "1").AddRaw("x", "").Build().bytes);
  const std::string text = Run({"blocks", "a.tev"}).output;
  EXPECT_NE(text.find("\n"
                      "  Block  Stream  Stored  Inflated  Ratio  Offset  Compression\n"
                      "      0  K\xc3\xbchl         1         1   1.00      48  none\n"
                      "      1  x            0         0      -      49  none\n"
                      "\n"
                      "  Stream  Blocks  Stored  Inflated  Ratio\n"
                      "  K\xc3\xbchl         1       1         1   1.00\n"
                      "  x            1       0         0      -\n"
                      "  (all)        2       1         1   1.00\n"),
            std::string::npos)
      << text;
}

TEST_F(TevBlocks, BlocksThatZlibWouldRefuse_AreListedAllTheSame) {
  ContainerWriter writer;
  writer.Add(
      {.name = "Tev Tree", .compressed = true, .storedBytes = Hex("ffffffff 'no zlib stream'")});
  dir.Write("a.tev", writer.Build().bytes);
  EXPECT_EQ(Rows(Answer({"blocks", "a.tev"})).at(3),
            (Row{"0", "Tev", "Tree", "18", "4294967295", "238609294.17", "39", "zlib"}));
}

TEST_F(TevBlocks, SecondIndex_IsFollowed) {
  ContainerWriter writer;
  writer.AddRaw("Tev Tree", "1").AddRaw("Resources", "22");
  writer.ContinueAfter({.after = 1, .block = {.name = "\vIndex Block 1", .compressed = true}});
  const Container container = writer.Build();
  dir.Write("a.tev", container.bytes);
  const auto rows = Rows(Answer({"blocks", "a.tev"}));
  const BlockPlace& second = container.continuations.at(0);
  EXPECT_EQ(rows.at(4).at(0) + rows.at(4).at(1) + rows.at(4).at(4),
            "1\\x0bIndex" + std::to_string(second.storedSize));
  EXPECT_EQ(rows.at(5), (Row{"2", "Resources", "2", "2", "1.00",
                             std::to_string(container.Block("Resources").offset), "none"}));
}

TEST_F(TevBlocks, CutFile_IsListedAndFails) {
  ContainerWriter writer;
  writer.AddRaw("Tev Tree", "1111")
      .AddCompressed("Resources", "22222222")
      .AddRaw("Attributes", "3");
  const Container whole = writer.Build();
  const BlockPlace& block = whole.Block("Resources");
  dir.Write("a.tev", writer.TruncateTo(block.offset + 3).Build().bytes);
  const RunResult run = Run({"blocks", "a.tev"});
  const std::string missing = std::to_string(whole.bytes.size() - block.offset - 3);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: a.tev: damaged: the file ends " + missing +
                           " bytes early, in block 1 (Resources) of 3 blocks"
                           " (\"tev check\" tells more)\n");
  const auto rows = Rows(run.output);
  EXPECT_EQ(rows.at(1).at(0), "INCOMPLETE:");
  EXPECT_EQ(rows.at(4).at(2), "Tree");
  EXPECT_EQ(rows.at(5), (Row{"1", "Resources", std::to_string(block.storedSize), "-", "-",
                             std::to_string(block.offset), "zlib"}));
  EXPECT_EQ(Check(Run({"blocks", "--json", "a.tev"}).output, "schema", Schema("blocks")), "");
}

TEST_F(TevBlocks, CompressedBlockWithoutALengthField_Fails) {
  ContainerWriter writer;
  writer.Add({.name = "Tev Tree", .compressed = true, .storedBytes = "123"});
  dir.Write("a.tev", writer.Build().bytes);
  const RunResult run = Run({"blocks", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.error,
      "tev: a.tev: damaged: block 0 (Tev Tree) is too short for a compressed block (\"tev check\" "
      "tells more)\n");
}

TEST_F(TevBlocks, ContainerOfSomethingElse_IsListedAndFails) {
  for (const bool isEmpty : {false, true}) {
    ContainerWriter writer;
    if (!isEmpty) {
      writer.AddRaw("Pictures", "1234");
    }
    dir.Write("a.tev", writer.Build().bytes);
    const RunResult run = Run({"blocks", "a.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(
        run.error,
        "tev: a.tev: damaged: its index has no stream of a model (\"tev check\" tells more)\n");
    EXPECT_TRUE(run.output.starts_with(
        "a.tev\n  INCOMPLETE: its index has no stream of a model\n  Version 1.3, "))
        << run.output;
    EXPECT_EQ(run.output.find("Pictures") == std::string::npos, isEmpty);
    const std::string json = Run({"blocks", "--json", "a.tev"}).output;
    EXPECT_EQ(Check(json, "schema", Schema("blocks")), "");
    EXPECT_NE(json.find("\"code\": \"damaged\""), std::string::npos) << json;
    EXPECT_EQ(json.find("\"stream\": \"Pictures\"") == std::string::npos, isEmpty) << json;
  }
}

TEST_F(TevBlocks, Examples_FitTheSchema) {
  const std::string answer =
      Answer({"blocks", "--json", Example("bracket.tev"), Example("heatsink.tev")});
  EXPECT_EQ(Check(answer, "schema", Schema("blocks")), "");
}

TEST_F(TevBlocks, Json_HasExactNumbers) {
  ContainerWriter writer;
  writer.Add({.name = "B\xff\n", .compressed = true, .storedBytes = Hex("18000000 01020304")});
  dir.Write("a.tev", writer.Build().bytes);
  const std::string answer = Run({"blocks", "--json", "a.tev"}).output;
  EXPECT_NE(answer.find("        {\n"
                        "          \"number\": 0,\n"
                        "          \"stream\": \"B\xef\xbf\xbd\\n\",\n"
                        "          \"storedBytes\": 8,\n"
                        "          \"inflatedBytes\": 24,\n"
                        "          \"ratio\": 3,\n"
                        "          \"offset\": 34,\n"
                        "          \"compression\": \"zlib\"\n"
                        "        }\n"),
            std::string::npos)
      << answer;
  EXPECT_EQ(Check(answer, "schema", Schema("blocks")), "");
}

}  // namespace
}  // namespace tevtest
