// tev find: the models of a catalogue that fit what is asked for.

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/CatalogueRows.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

struct Options {
  std::string text;
  std::optional<std::string> category;
  std::optional<std::string> result;
  std::optional<double> above;
  std::optional<double> below;
  bool failed = false;
  bool duplicates = false;
};

/// The words of a text as FTS5 wants them: each in quotes, so that nothing in it means anything
/// else; one that ends in "*" is the beginning of words.
std::string WordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::string words;
  for (std::string word; stream >> word;) {
    const bool isBeginning = word.size() > 1 && word.ends_with('*');
    if (isBeginning) {
      word.pop_back();
    }
    std::string quoted;
    for (const char character : word) {
      quoted += character == '"' ? "\"\"" : std::string(1, character);
    }
    words += (words.empty() ? "\"" : " \"") + quoted + (isBeginning ? "\"*" : "\"");
  }
  return words;
}

/// A question in the making: conditions of "models" with their values.
class Question {
 public:
  void Add(const std::string& condition) { conditions_ += " AND " + condition; }
  void Add(const std::string& condition, const std::string& value) {
    Add(condition);
    texts_.push_back(value);
  }
  void Add(const std::string& condition, const std::string& value,
           const std::optional<double>& above, const std::optional<double>& below) {
    Add(condition, value);
    above_ = above;
    below_ = below;
  }

  [[nodiscard]] Statement Ask(const Database& database, const std::string& order) const {
    Statement statement = database.Prepare(
        "SELECT path AS file, category, nodes, elements, part_count AS partCount, bytes, digest, "
        "failure_code AS failure, title FROM models WHERE gone = 0" +
        conditions_ + " ORDER BY " + order);
    for (const std::string& text : texts_) {
      statement.Bind(std::string_view(text));
    }
    for (const std::optional<double>& limit : {above_, below_}) {
      if (limit) {
        statement.Bind(*limit);
      }
    }
    return statement;
  }

 private:
  std::string conditions_;
  std::vector<std::string> texts_;
  std::optional<double> above_;
  std::optional<double> below_;
};

/// Of vectors the magnitude counts, else any component.
std::string ResultCondition(const Options& options) {
  if (!options.above && !options.below) {
    return "id IN (SELECT model_id FROM results WHERE name = ?)";
  }
  std::string condition =
      "id IN (SELECT model_id FROM extremes e WHERE result = ? AND (component = -1 OR NOT EXISTS "
      "(SELECT 1 FROM extremes v WHERE v.model_id = e.model_id AND v.part_id = e.part_id AND "
      "v.result = e.result AND v.component = -1))";
  condition += options.above ? " AND max > ?" : "";
  condition += options.below ? " AND min < ?" : "";
  return condition + ')';
}

void RequireScanned(const Database& database, const char* column, const char* option) {
  const std::string sql = std::string("SELECT 1 FROM models WHERE ") + column + " = 1 LIMIT 1";
  if (!database.Number(sql)) {
    throw UsageError("nothing was scanned with " + std::string(option));
  }
}

Statement Ask(const Database& database, const Options& options) {
  Question question;
  std::string order = "path";
  if (const std::string words = WordsOf(options.text); !words.empty()) {
    question.Add("id IN (SELECT rowid FROM texts WHERE texts MATCH ?)", words);
  }
  if (options.category) {
    question.Add("category = ?", *options.category);
  }
  if (options.failed) {
    question.Add("failure_code IS NOT NULL");
  }
  if (options.duplicates) {
    RequireScanned(database, "has_hash", "--hash");
    question.Add(
        "digest IN (SELECT digest FROM models WHERE digest IS NOT NULL AND gone = 0 "
        "GROUP BY digest HAVING count(*) > 1)");
    order = "digest, path";
  }
  if (options.above || options.below) {
    RequireScanned(database, "has_stats", "--stats");
  }
  if (options.result) {
    question.Add(ResultCondition(options), *options.result, options.above, options.below);
  }
  return question.Ask(database, order);
}

constexpr const char* kNotes =
    "TEXT is one or more words of titles and of names of parts and results, all of which a model\n"
    "has; one that ends in * is the beginning of a word. --above and --below look at the "
    "magnitude\n"
    "of vectors, else at any component, over all steps.\n"
    "Examples:\n"
    "  tev find archive.db 'bracket steel' --category 'Linear Static'\n"
    "  tev find archive.db --result 'von Mises Stress' --above 300\n"
    "Exit status: 0 done, also where nothing is found; 1 bad usage, or what is asked for was not\n"
    "scanned; 2 the catalogue cannot be read.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<RowRun>(RowRun{.verb = "find"});
  const auto options = std::make_shared<Options>();
  AddCatalogue(app, run);
  app.add_option("TEXT", options->text, "Words to look for")->option_text(" ");
  app.add_option("--category", options->category, "Models of that category")->option_text("C");
  CLI::Option* result =
      app.add_option("--result", options->result, "Models that have it")->option_text("R");
  app.add_option("--above", options->above, "Where it gets above X")
      ->needs(result)
      ->option_text("X");
  app.add_option("--below", options->below, "Where it gets below X")
      ->needs(result)
      ->option_text("X");
  app.add_flag("--failed", options->failed, "Files that failed");
  app.add_flag("--duplicates", options->duplicates, "Models that another one says the same as");
  AddRowForms(app, run);
  return [run, options] {
    return WriteRows(*run, [&](const Database& database) { return Ask(database, *options); });
  };
}

}  // namespace

Verb FindVerb() {
  return {.name = "find",
          .summary = "The models of a catalogue that fit",
          .notes = kNotes,
          .setUp = SetUp};
}
