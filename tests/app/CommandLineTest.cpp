// What TevInfo takes its arguments for.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "TevInfo/CommandLine.h"

namespace {

using Texts = std::vector<std::string>;

/// The arguments of a program as it gets them.
class Arguments {
 public:
  explicit Arguments(Texts texts) : texts_(std::move(texts)) {
    for (std::string& text : texts_) {
      pointers_.push_back(text.data());
    }
    pointers_.push_back(nullptr);
  }

  [[nodiscard]] int Count() const { return static_cast<int>(texts_.size()); }
  [[nodiscard]] char** Values() { return pointers_.data(); }

 private:
  Texts texts_;
  std::vector<char*> pointers_;
};

/// What the arguments after the program's name say.
CommandLine Parsed(Texts texts) {
  texts.insert(texts.begin(), "TevInfo");
  Arguments arguments(std::move(texts));
  return ParseCommandLine(arguments.Count(), arguments.Values());
}

std::string Joined(const Texts& texts) {
  Arguments arguments(texts);
  return ArgumentList(arguments.Count(), arguments.Values());
}

TEST(CommandLine, New_IsTheNativeDocumentOfNothing) {
  EXPECT_EQ(CommandLine().format, TevInfo::NativeMetaData);
  EXPECT_EQ(CommandLine().positional, Texts());
}

TEST(CommandLine, NoArguments_NameNothing) {
  EXPECT_EQ(Parsed({}).positional, Texts());
  EXPECT_EQ(Parsed({}).format, TevInfo::NativeMetaData);
}

TEST(CommandLine, NotEvenAProgramName_NamesNothing) {
  Arguments none({});
  EXPECT_EQ(ParseCommandLine(0, none.Values()).positional, Texts());
}

TEST(CommandLine, Paths_KeepTheirOrder) {
  EXPECT_EQ(Parsed({"a.tev", "out.xml", "more"}).positional, (Texts{"a.tev", "out.xml", "more"}));
}

TEST(CommandLine, FormatOptions_SetTheFormat) {
  EXPECT_EQ(Parsed({"a.tev"}).format, TevInfo::NativeMetaData);
  EXPECT_EQ(Parsed({"--extract-data", "a.tev"}).format, TevInfo::ExtractData);
  EXPECT_EQ(Parsed({"--ekm-meta-data", "a.tev"}).format, TevInfo::EkmMetaData);
}

TEST(CommandLine, FormatOptions_ArePassedOverAsPaths) {
  EXPECT_EQ(Parsed({"--extract-data", "a", "--ekm-meta-data", "b"}).positional, (Texts{"a", "b"}));
  EXPECT_EQ(Parsed({"--ekm-meta-data"}).positional, Texts());
}

TEST(CommandLine, TwoFormatOptions_TheLaterOneWins) {
  EXPECT_EQ(Parsed({"--extract-data", "--ekm-meta-data", "a"}).format, TevInfo::EkmMetaData);
  EXPECT_EQ(Parsed({"--ekm-meta-data", "a", "--extract-data"}).format, TevInfo::ExtractData);
}

TEST(CommandLine, OtherLongOptions_AreIgnored) {
  const CommandLine line = Parsed({"--help", "--extract-data=1", "--Extract-data", "--ekm-meta-dat",
                                   "--ekm-meta-data ", "---", "a.tev"});
  EXPECT_EQ(line.positional, Texts{"a.tev"});
  EXPECT_EQ(line.format, TevInfo::NativeMetaData);
}

TEST(CommandLine, TwoDashesAlone_DoNotEndTheOptions) {
  const CommandLine line = Parsed({"--", "a.tev", "--extract-data"});
  EXPECT_EQ(line.positional, Texts{"a.tev"});
  EXPECT_EQ(line.format, TevInfo::ExtractData);
}

TEST(CommandLine, DashShortOptionsAndEmptyText_ArePaths) {
  EXPECT_EQ(Parsed({"-", "-v", "-h", "", "-extract-data", "a--b"}).positional,
            (Texts{"-", "-v", "-h", "", "-extract-data", "a--b"}));
}

TEST(CommandLine, ProgramName_IsNeverAnOption) {
  Arguments arguments({"--extract-data", "a.tev"});
  const CommandLine line = ParseCommandLine(arguments.Count(), arguments.Values());
  EXPECT_EQ(line.format, TevInfo::NativeMetaData);
  EXPECT_EQ(line.positional, Texts{"a.tev"});
}

TEST(ArgumentList, Arguments_AreEachFollowedByABlank) {
  EXPECT_EQ(Joined({"a", "b", "c"}), "a b c ");
  EXPECT_EQ(Joined({"one"}), "one ");
  EXPECT_EQ(Joined({"", "--x", " "}), " --x   ");
}

TEST(ArgumentList, CountBelowOne_IsEmpty) {
  Arguments arguments({"a", "b"});
  EXPECT_EQ(ArgumentList(0, arguments.Values()), "");
  EXPECT_EQ(ArgumentList(-1, arguments.Values()), "");
}

TEST(ArgumentList, Count_SaysHowManyAreJoined) {
  Arguments arguments({"a", "b", "c"});
  EXPECT_EQ(ArgumentList(2, arguments.Values()), "a b ");
}

}  // namespace
