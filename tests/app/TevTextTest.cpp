// The texts of the companion: visible characters, tables, drawings of trees.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "tev/Progress.h"
#include "tev/Table.h"
#include "tev/VisibleText.h"

namespace {

TEST(VisibleText, PlainTextAndOtherScripts_StayAsTheyAre) {
  const std::string text = "C:\\a \"b\" K\xc3\xbchl \xe2\x82\xac \xf0\x9f\x94\xa7";
  EXPECT_EQ(VisibleText(text), text);
}

TEST(VisibleText, ControlCharacters_AreWrittenOut) {
  using namespace std::string_literals;
  EXPECT_EQ(VisibleText("\0\t\n\x1b[2J\x1e\x7f"s), "\\x00\\x09\\x0a\\x1b[2J\\x1e\\x7f");
}

TEST(VisibleText, C1Controls_AreWrittenOut) {
  EXPECT_EQ(VisibleText("\xc2\x9b"
                        "31m"),
            "\\xc2\\x9b31m");
  EXPECT_EQ(VisibleText("\xc2\xa0"), "\xc2\xa0");  // the first character after them
}

TEST(VisibleText, BytesThatAreNoUtf8_AreWrittenOut) {
  EXPECT_EQ(VisibleText("\x9b"), "\\x9b");                             // no start of anything
  EXPECT_EQ(VisibleText("\xc3"), "\\xc3");                             // cut short
  EXPECT_EQ(VisibleText("\xc3(\xff"), "\\xc3(\\xff");                  // not continued
  EXPECT_EQ(VisibleText("\xc1\x9b"), "\\xc1\\x9b");                    // longer than needed
  EXPECT_EQ(VisibleText("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // half of a pair
  EXPECT_EQ(VisibleText("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last
}

TEST(OneLine, LineFeeds_BecomeBlanksAndNoneAtTheEnd) {
  EXPECT_EQ(OneLine("a\nb.\n\n"), "a b.");
  EXPECT_EQ(OneLine("\n"), "");
}

TEST(FirstColumns, Characters_AreNotCutApart) {
  EXPECT_EQ(FirstColumns("a\xc3\xbc\xe2\x82\xac", 3), "a\xc3\xbc\xe2\x82\xac");
  EXPECT_EQ(FirstColumns("a\xc3\xbc\xe2\x82\xac", 2), "a\xc3\xbc");
  EXPECT_EQ(FirstColumns("a\xc3\xbc\xe2\x82\xac", 1), "a");
  EXPECT_EQ(FirstColumns("a", 0), "");
}

TEST(FirstColumns, WideCharacters_AreKeptWhereBothTheirColumnsAre) {
  const std::string text = "\xe6\xbc\xa2\xe5\xad\x97z";  // two ideographs and a letter
  EXPECT_EQ(FirstColumns(text, 5), text);
  EXPECT_EQ(FirstColumns(text, 4), text.substr(0, 6));
  EXPECT_EQ(FirstColumns(text, 3), text.substr(0, 3));
  EXPECT_EQ(FirstColumns(text, 1), "");
}

TEST(FirstColumns, Marks_StayWithTheirCharacter) {
  const std::string text = "u\xcc\x88x";  // u, a mark of two dots, x
  EXPECT_EQ(FirstColumns(text, 2), text);
  EXPECT_EQ(FirstColumns(text, 1), "u\xcc\x88");
}

TEST(WidthOf, Characters_CountAsTerminalsShowThem) {
  EXPECT_EQ(WidthOf(""), 0U);
  EXPECT_EQ(WidthOf("K\xc3\xbchl"), 4U);
  EXPECT_EQ(WidthOf("Ku\xcc\x88hl"), 4U);
  EXPECT_EQ(WidthOf("\xe6\xbc\xa2\xe5\xad\x97"), 4U);
  EXPECT_EQ(WidthOf("\xf0\x9f\x94\xa7 "), 3U);
}

TEST(VisibleText, MarksThatTurnTextAround_AreWrittenOut) {
  EXPECT_EQ(VisibleText("a\xe2\x80\xae"
                        "b"),
            "a\\xe2\\x80\\xae"
            "b");                                             // right to left
  EXPECT_EQ(VisibleText("\xe2\x81\xa6"), "\\xe2\\x81\\xa6");  // an isolate
  EXPECT_EQ(VisibleText("\xd8\x9c"), "\\xd8\\x9c");           // of Arabic letters
  EXPECT_EQ(VisibleText("\xe2\x80\xad"), "\\xe2\\x80\\xad");
  EXPECT_EQ(VisibleText("\xe2\x80\x90"), "\xe2\x80\x90");  // a hyphen
}

TEST(EscapedForJson, WhatTerminalsObey_IsEscapedAndNothingElse) {
  EXPECT_EQ(EscapedForJson("a\x7f\xc2\x85\xe2\x80\xae\xd8\x9c"), "a\\u007f\\u0085\\u202e\\u061c");
  EXPECT_EQ(EscapedForJson("\n{\"K\xc3\xbchl\"}"), "\n{\"K\xc3\xbchl\"}");
}

TEST(CountedOrDash, One_IsSingular) {
  EXPECT_EQ(CountedOrDash(1.0, "node"), "1 node");
  EXPECT_EQ(CountedOrDash(0.0, "node"), "0 nodes");
  EXPECT_EQ(CountedOrDash(1.5, "node"), "1.5 nodes");
  EXPECT_EQ(CountedOrDash(std::nullopt, "node"), "- nodes");
}

TEST(MeanNodesText, OneAsItIsShown_IsSingular) {
  EXPECT_EQ(MeanNodesText(1), "1 node");
  EXPECT_EQ(MeanNodesText(1.001), "1 node");
  EXPECT_EQ(MeanNodesText(1.01), "1.01 nodes");
  EXPECT_EQ(MeanNodesText(4), "4 nodes");
}

TEST(NumberText, ZeroBelowZeroAndNumbersThatAreNotFinite_HaveOneSpelling) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(NumberText(-0.0), "-0");
  EXPECT_EQ(NumberText(0.0), "0");
  EXPECT_EQ(NumberText(std::copysign(kNan, -1)), "nan");
  EXPECT_EQ(NumberText(kNan), "nan");
  EXPECT_EQ(NumberText(-std::numeric_limits<double>::infinity()), "-inf");
  EXPECT_EQ(NumberText(100000), "100000");
}

TEST(ProgressText, Path_IsMadeVisible) {
  EXPECT_EQ(ProgressText(2, 10, "a\x1b"), "2 of 10 files done, at work on a\\x1b");
}

TEST(ProgressText, UnknownNumberOfFiles_IsLeftOut) {
  EXPECT_EQ(ProgressText(2, std::nullopt, "a"), "2 files done, at work on a");
  EXPECT_EQ(ProgressText(1, std::nullopt, "a"), "1 file done, at work on a");
  EXPECT_EQ(ProgressText(0, 1, "a"), "0 of 1 file done, at work on a");
}

TEST(Table, Columns_AreAsWideAsTheyNeedToBe) {
  std::ostringstream stream;
  Table table(stream, {{"Name", Table::Align::Left}, {"N", Table::Align::Right}});
  table.Add({"K\xc3\xbchler", "1"});
  table.Add({"x", "200"});
  table.Finish();
  EXPECT_EQ(stream.str(),
            "  Name      N\n"
            "  K\xc3\xbchler    1\n"
            "  x       200\n");
}

TEST(Table, CellsOfWideCharactersAndMarks_LineUp) {
  std::ostringstream stream;
  Table table(stream, {{"Name", Table::Align::Left}, {"N", Table::Align::Right}});
  table.Add({"\xe6\xbc\xa2\xe5\xad\x97z", "1"});
  table.Add({"Ku\xcc\x88hl", "2"});
  table.Finish();
  EXPECT_EQ(stream.str(),
            "  Name   N\n"
            "  \xe6\xbc\xa2\xe5\xad\x97z  1\n"
            "  Ku\xcc\x88hl   2\n");
}

/// The rows of a table with one cell of that many characters above a short one.
std::string RowsOf(std::size_t longest) {
  std::ostringstream stream;
  Table table(stream, {{"Name", Table::Align::Left}, {"N", Table::Align::Right}});
  table.Add({std::string(longest, 'x'), "1"});
  table.Add({"short", "2"});
  table.Finish();
  return stream.str();
}

std::string Blanks(std::size_t count) { return std::string(count, ' '); }

TEST(Table, CellOfEightyColumns_IsTheWidestThatWidensItsColumn) {
  EXPECT_EQ(RowsOf(80), "  Name" + Blanks(76) + "  N\n" +            //
                            "  " + std::string(80, 'x') + "  1\n" +  //
                            "  short" + Blanks(75) + "  2\n");
}

TEST(Table, LongerCell_SticksOutAndLeavesTheOtherRowsAsTheyAre) {
  EXPECT_EQ(RowsOf(81), "  Name" + Blanks(76) + "  N\n" +            //
                            "  " + std::string(81, 'x') + "  1\n" +  //
                            "  short" + Blanks(75) + "  2\n");
  // Many rows beside one long name cost no more than their own text.
  EXPECT_EQ(RowsOf(1000000).size() - RowsOf(80).size(), 1000000U - 80U);
}

TEST(Table, LongerCellOfAColumnToTheRight_SticksOutToo) {
  std::ostringstream stream;
  Table table(stream, {{"N", Table::Align::Right}});
  table.Add({std::string(100, '9')});
  table.Add({"7"});
  table.Finish();
  EXPECT_EQ(stream.str(), "  " + Blanks(79) + "N\n" +                //
                              "  " + std::string(100, '9') + "\n" +  //
                              "  " + Blanks(79) + "7\n");
}

}  // namespace
