// Asking a catalogue: "tev find", "summary" and "query", and the questions that its page has.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

#include "run/CatalogueRun.h"

namespace tevtest {
namespace {

class TevCatalogueQuestions : public CatalogueRun {
 protected:
  TevCatalogueQuestions() { WriteArchive(); }

  /// The names of the files that "tev find" tells of.
  [[nodiscard]] std::string Found(std::vector<std::string> question) const {
    question.insert(question.begin(), {"find", "a.db"});
    question.emplace_back("--csv");
    std::istringstream lines(Answer(question));
    std::string names;
    std::string line;
    std::getline(lines, line);
    EXPECT_TRUE(line.starts_with("file,failureCode,bytes,")) << line;
    while (std::getline(lines, line)) {
      const std::string path = line.substr(0, line.find(','));
      names += (names.empty() ? "" : " ") + path.substr(path.rfind('/') + 1);
    }
    return names;
  }
};

TEST_F(TevCatalogueQuestions, Question_IsWordsAndNoSyntax) {
  EXPECT_EQ(Scan("a.db", {"--hash"}).status, 0);
  for (const char* odd : {"\"", "a\"b", "NEAR(", "x AND", "*", "title:x", "-", "^a", "{}"}) {
    const RunResult run = Run({"find", "a.db", "--csv", "--", odd});
    EXPECT_EQ(run.error, "") << odd;
    EXPECT_EQ(run.status, 0) << odd;
  }
  const std::string found = Answer({"find", "a.db", "aluminium STEEL", "--jsonl"});
  EXPECT_NE(found.find("/archive/bracket.tev\""), std::string::npos);
  EXPECT_EQ(found.find("heatsink"), std::string::npos);
  EXPECT_EQ(Answer({"find", "a.db", "alumin"}).find("bracket"), std::string::npos);
  EXPECT_NE(Answer({"find", "a.db", "alumin*"}).find("bracket"), std::string::npos);
  const std::string twice = Answer({"find", "a.db", "--duplicates", "--csv"});
  EXPECT_NE(twice.find("/small.tev,"), std::string::npos) << twice;
  EXPECT_NE(twice.find("/deep/copy.tev,"), std::string::npos) << twice;
}

TEST_F(TevCatalogueQuestions, LimitsWithoutStatistics_AreBadUsage) {
  EXPECT_EQ(Scan("a.db").status, 0);
  const RunResult run = Run({"find", "a.db", "--result", "Stress", "--above", "1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "tev: nothing was scanned with --stats\n");
}

TEST_F(TevCatalogueQuestions, OtherFiles_AreNoCatalogues) {
  Write("m.tev", SmallModel());
  for (const char* verb : {"find", "summary"}) {
    const RunResult run = Run({verb, "m.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: m.tev: no catalogue: it is no file of SQLite\n");
  }
  EXPECT_EQ(Run({"query", "m.tev", "SELECT 1"}).status, 2);
  EXPECT_EQ(Run({"summary", "missing.db"}).error,
            "tev: missing.db: cannot open: No such file or directory\n");
  EXPECT_FALSE(dir.Has("missing.db"));
}

TEST_F(TevCatalogueQuestions, Conditions_AllHold) {
  EXPECT_EQ(Scan("a.db", {"--stats"}).status, 0);
  EXPECT_EQ(Found({"--category", "Linear Static"}), "bracket.tev");
  EXPECT_EQ(Found({"--result", "von Mises Stress"}), "bracket.tev");
  // From 0.011795345 to 78.76479 in one part, from 0.040990017 to 53.021477 in the other.
  EXPECT_EQ(Found({"--result", "von Mises Stress", "--above", "78.7"}), "bracket.tev");
  EXPECT_EQ(Found({"--result", "von Mises Stress", "--above", "78.8"}), "");
  EXPECT_EQ(Found({"--result", "von Mises Stress", "--below", "0.0118"}), "bracket.tev");
  EXPECT_EQ(Found({"--result", "von Mises Stress", "--below", "0.0117"}), "");
  // Of a vector the magnitude counts: its largest is 0.25017488, its least component below 0.
  EXPECT_EQ(Found({"bracket", "--result", "Displacement", "--above", "0.25"}), "bracket.tev");
  EXPECT_EQ(Found({"bracket", "--result", "Displacement", "--above", "0.251"}), "");
  EXPECT_EQ(Found({"bracket", "--result", "Displacement", "--below", "0"}), "");
  // Of a tensor any component does: the least is -104.175, the largest 91.616.
  EXPECT_EQ(Found({"bracket", "--result", "Stress", "--below", "-104"}), "bracket.tev");
  EXPECT_EQ(Found({"bracket", "--result", "Stress", "--above", "91"}), "bracket.tev");
  EXPECT_EQ(Found({"bracket", "--result", "Stress", "--above", "92"}), "");
  EXPECT_EQ(Found({"FINS", "--category", "Transient", "--result", "Heat Flux"}), "heatsink.tev");
  EXPECT_EQ(Found({"FINS", "--category", "Linear Static"}), "");
  EXPECT_EQ(Found({"--category", "Lin*", "--result", "von [MN]ises*"}), "bracket.tev");
  // One part of the bracket gets above 60, the other stays below.
  EXPECT_EQ(Found({"--result", "von Mises*", "--above", "60", "--below", "0.012"}), "bracket.tev");
  EXPECT_EQ(Found({"--result", "von Mises*", "--above", "60", "--below", "0.011"}), "");
  EXPECT_TRUE(Found({"--failed"}).starts_with("cut.tev ")) << Found({"--failed"});
  EXPECT_EQ(Found({"--failed"}).find("small.tev"), std::string::npos);
  std::filesystem::remove(dir / "archive/bracket.tev");
  EXPECT_EQ(Scan("a.db").status, 0);
  EXPECT_EQ(Found({"--category", "Linear Static"}), "");
}

TEST_F(TevCatalogueQuestions, Answers_HaveSchemas) {
  EXPECT_EQ(Scan("a.db", {"--hash", "--stats"}).status, 0);
  for (const std::string verb : {"find", "summary", "query"}) {
    std::vector<std::string> command{verb, "a.db", "--jsonl"};
    if (verb == "query") {
      command.emplace_back("SELECT *, 'a' AS format, x'c3' AS format FROM models");
    }
    const std::string answer = Answer(command);
    EXPECT_NE(answer, "");
    EXPECT_EQ(Check(answer, "lines", Schema(verb)), "") << verb;
  }
  EXPECT_EQ(Check(Answer({"find", "a.db", "--duplicates", "--jsonl"}), "lines", Schema("find")),
            "");
}

TEST_F(TevCatalogueQuestions, Summary_CountsModelsByKind) {
  EXPECT_EQ(Run({"scan", "archive/bracket.tev", "archive/deep/heatsink.tev", "archive/cut.tev",
                 "--catalogue", "a.db"})
                .status,
            0);
  const std::string small = std::to_string(std::filesystem::file_size(dir / "archive/cut.tev"));
  const std::string all = std::to_string(1184904 + 1121469 + std::stoul(small));
  const std::string summary = Answer({"summary", "a.db", "--csv"});
  EXPECT_TRUE(summary.starts_with("group,value,models,bytes\nall,,3," + all + "\n")) << summary;
  for (const std::string& row :
       std::vector<std::string>{"category,Linear Static,1,1184904", "category,Transient,2,",
                                "application,modeltidy,2,2306373", "year,2024,",
                                "size,1 to 10 MB,2,2306373", "failure,damaged,1," + small}) {
    EXPECT_NE(summary.find('\n' + row), std::string::npos) << row << '\n' << summary;
  }
}

TEST_F(TevCatalogueQuestions, QueryThatWrites_IsBadUsage) {
  EXPECT_EQ(Scan("a.db").status, 0);
  const std::string before = dir.Read("a.db");
  for (const char* sql : {"DELETE FROM models", "DROP TABLE models", "CREATE TABLE t(a)",
                          "INSERT INTO models(path) VALUES ('x')"}) {
    const RunResult run = Run({"query", "a.db", sql});
    EXPECT_EQ(run.status, 1) << sql;
    EXPECT_EQ(run.error, "tev: the statement does not only read\n");
  }
  for (const char* sql : {"", "nonsense", "SELECT 1; DELETE FROM models", "SELECT nothing"}) {
    const RunResult run = Run({"query", "a.db", sql});
    EXPECT_NE(run.status, 0) << sql;
    EXPECT_EQ(run.output, "");
  }
  EXPECT_NE(Run({"query", "a.db", "ATTACH 'b.db' AS b"}).status, 0);
  EXPECT_FALSE(dir.Has("b.db"));
  EXPECT_EQ(dir.Read("a.db"), before);
}

/// The questions of a page, by what their first lines say.
std::map<std::string, std::string> QuestionsOf(const std::string& page) {
  std::map<std::string, std::string> questions;
  const std::regex block("```sql\n-- ([^\n]*)\n([^`]*)```");
  for (std::sregex_iterator match(page.begin(), page.end(), block), end; match != end; ++match) {
    questions[(*match)[1]] = (*match)[2];
  }
  return questions;
}

TEST_F(TevCatalogueQuestions, DocumentedOnes_HaveTheirAnswers) {
  EXPECT_EQ(Run({"scan", "archive/bracket.tev", "archive/deep", "archive/small.tev",
                 "archive/cut.tev", "--catalogue", "a.db", "--stats", "--check", "--hash"})
                .status,
            0);
  const auto questions =
      QuestionsOf(ReadFile(std::string(TEVINFO_SOURCE_DIR) + "/docs/catalogue.md"));
  ASSERT_EQ(questions.size(), 10U);
  const auto ask = [&](const std::string& question, const std::string& from = "",
                       const std::string& to = "") {
    std::string sql = questions.at(question);
    if (!from.empty()) {
      EXPECT_NE(sql.find(from), std::string::npos) << sql;
      sql.replace(sql.find(from), from.size(), to);
    }
    std::string answer = Query("a.db", sql);
    const std::string archive = (dir / "archive") + "/";
    for (std::size_t at = 0; (at = answer.find(archive, at)) != std::string::npos;) {
      answer.erase(at, archive.size());
    }
    return answer;
  };
  EXPECT_TRUE(ask("The largest files")
                  .starts_with("path,bytes\nbracket.tev,1184904\ndeep/heatsink.tev,1121469\n"));
  EXPECT_EQ(ask("All models of a category"), "path\nbracket.tev\n");
  EXPECT_EQ(ask("Where a result gets above a limit, and where in the model"),
            "path,part_id,max,max_at,max_step\n");
  const std::string limits =
      ask("Where a result gets above a limit, and where in the model", "300", "50");
  EXPECT_TRUE(std::regex_match(
      limits, std::regex("path,part_id,max,max_at,max_step\nbracket.tev,4,78\\.76479[0-9]*,[0-9]+,"
                         "Load Case = 1\nbracket.tev,8,53\\.02147[0-9]*,[0-9]+,Load Case = 1\n")))
      << limits;
  EXPECT_EQ(ask("Models that have a part of that name"), "path\ndeep/heatsink.tev\n");
  EXPECT_TRUE(ask("Files that failed, by their reason")
                  .starts_with("failure_code,path,failure_message\ndamaged,cut.tev,"));
  EXPECT_TRUE(
      std::regex_search(ask("Models that say the same as another one"),
                        std::regex("\n([0-9a-f]{64}),deep/copy\\.tev\n(.*\n)*\\1,small\\.tev\n")));
  EXPECT_EQ(ask("What was written last by a program"),
            "modified,path\n2024-07-18T10:09:57,deep/heatsink.tev\n"
            "2024-03-05T17:30:02,bracket.tev\n");
  EXPECT_EQ(ask("Words in titles and in names of parts and results"), "path\nbracket.tev\n");
  EXPECT_EQ(ask("Faults of a kind"), "path,text\n");
  EXPECT_NE(ask("Faults of a kind", "not-finite", "block-outside-file").find("cut.tev,"),
            std::string::npos);
  EXPECT_TRUE(std::regex_search(
      ask("All that is known of one file", "/archive/bracket.tev", dir / "archive/bracket.tev"),
      std::regex("\n[0-9]+,bracket\\.tev,1184904,")));
}

}  // namespace
}  // namespace tevtest
