// The manual pages of tev against what the verbs say of themselves.

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "run/TevRun.h"

namespace tevtest {
namespace {

using Words = std::set<std::string>;

/// A section of a manual page without what only formats it.
std::string SectionOf(const std::string& page, const std::string& name) {
  const std::string heading = "\n.SH " + name + "\n";
  const std::size_t at = page.find(heading);
  if (at == std::string::npos) {
    return "";
  }
  const std::size_t start = at + heading.size();
  std::string text = page.substr(start, page.find("\n.SH ", start) - start);
  text = std::regex_replace(text, std::regex(R"(\\f.)"), "");
  return std::regex_replace(text, std::regex(R"(\\-)"), "-");
}

/// The lines that head the entries of a section.
std::vector<std::string> TagsIn(const std::string& section) {
  std::istringstream lines(section);
  std::vector<std::string> tags;
  for (std::string line; std::getline(lines, line);) {
    if (line == ".TP" && std::getline(lines, line)) {
      tags.push_back(line);
    }
  }
  return tags;
}

void AddMatches(const std::string& text, const std::regex& form, Words& words) {
  for (std::sregex_iterator match(text.begin(), text.end(), form); match != std::sregex_iterator();
       ++match) {
    words.insert((*match)[1]);
  }
}

/// The options that a page or the first column of a help text names.
Words OptionsIn(const std::vector<std::string>& lines) {
  Words options;
  for (const std::string& line : lines) {
    AddMatches(line, std::regex(R"((?:^|[ ,"])(--?[A-Za-z][A-Za-z0-9-]*))"), options);
  }
  return options;
}

std::vector<std::string> OptionColumn(const std::string& help) {
  std::istringstream lines(help);
  std::vector<std::string> column;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_search(line, std::regex("^ +-"))) {
      const std::size_t start = line.find('-');
      column.push_back(line.substr(start, line.find("  ", start) - start));
    }
  }
  return column;
}

class TevManual : public TevRun {
 protected:
  /// All that "tev help" lists.
  [[nodiscard]] std::vector<std::string> Verbs() const {
    std::istringstream lines(Answer({"help"}));
    std::vector<std::string> verbs;
    std::string line;
    while (std::getline(lines, line) && line != "Verbs:") {
    }
    while (std::getline(lines, line) && !line.empty()) {
      verbs.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return verbs;
  }

  [[nodiscard]] static std::string PageOf(const std::string& name) {
    return ReadFile(std::string(TEVINFO_SOURCE_DIR) + "/docs/man/" + name + ".1");
  }
};

TEST_F(TevManual, EveryVerb_HasAPageWithItsOptionsAndStatuses) {
  const std::vector<std::string> verbs = Verbs();
  EXPECT_GE(verbs.size(), 11U);
  for (const std::string& verb : verbs) {
    const std::string page = PageOf("tev-" + verb);
    const std::string help = Answer({verb, "--help"});
    const Words options = OptionsIn(OptionColumn(help));
    EXPECT_TRUE(options.contains("-V")) << help;
    // Two verbs fill a catalogue, and have no answer to write elsewhere.
    EXPECT_EQ(options.contains("--output"), verb != "scan" && verb != "merge") << help;
    EXPECT_EQ(OptionsIn(TagsIn(SectionOf(page, "OPTIONS"))), options) << verb;

    const std::size_t at = help.find("Exit status: ");
    ASSERT_NE(at, std::string::npos) << help;
    Words told;
    AddMatches(help.substr(at), std::regex("([0-9]) [a-z]"), told);
    Words statuses;
    for (const std::string& tag : TagsIn(SectionOf(page, "EXIT STATUS"))) {
      statuses.insert(tag.substr(3));
    }
    EXPECT_EQ(statuses, told) << verb;
    EXPECT_EQ(told, (Words{"0", "1", "2"})) << verb;

    EXPECT_NE(SectionOf(page, "EXAMPLES").find("tev " + verb + " "), std::string::npos);
    EXPECT_NE(help.find("tev " + verb + " ", help.find("Example")), std::string::npos);
  }
}

TEST_F(TevManual, PageOfTheProgram_ListsAllVerbs) {
  const std::string section = SectionOf(PageOf("tev"), "VERBS");
  Words listed;
  for (const std::string& tag : TagsIn(section)) {
    AddMatches(tag, std::regex(R"(^\.BR tev-([a-z]+) \(1\)$)"), listed);
  }
  const std::vector<std::string> verbs = Verbs();
  EXPECT_EQ(listed, Words(verbs.begin(), verbs.end()));
}

TEST_F(TevManual, VerbsWithJson_AreThoseThatHaveASchemaOfTheirOwn) {
  // Rows of a catalogue are lines alone: what is in them is what was asked.
  const Words asking{"find", "query", "summary"};
  std::size_t count = 0;
  for (const std::string& verb : Verbs()) {
    const Words options = OptionsIn(OptionColumn(Answer({verb, "--help"})));
    EXPECT_EQ(options.contains("--jsonl"), std::filesystem::exists(Schema(verb))) << verb;
    EXPECT_EQ(options.contains("--jsonl"), options.contains("--json") || asking.contains(verb))
        << verb;
    if (options.contains("--jsonl")) {
      ++count;
      EXPECT_NE(ReadFile(Schema(verb)).find("\"$id\": \"urn:tevinfo:schema:tev." + verb + ":1\""),
                std::string::npos)
          << verb;
    }
  }
  EXPECT_GT(count, 0U);
}

TEST_F(TevManual, Pages_AreWellFormed) {
  for (const auto& page :
       std::filesystem::directory_iterator(std::string(TEVINFO_SOURCE_DIR) + "/docs/man")) {
    const RunResult run = RunProgram({"/bin/sh", "-c",
                                      "command -v groff >/dev/null || exit 77; groff -man -Tutf8 "
                                      "-ww '" +
                                          page.path().string() + "'"});
    if (run.status == 77) {
      GTEST_SKIP() << "groff is not installed";
    }
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "") << page.path();
  }
}

}  // namespace
}  // namespace tevtest
