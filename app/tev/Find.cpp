// tev find: the models of a catalogue that fit what is asked for.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
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

/// Conditions of "models", with the values of their parameters.
class Conditions {
 public:
  using Value = std::variant<std::string, double>;

  void Add(const std::string& condition, std::vector<Value> values = {}) {
    text_ += " AND " + condition;
    std::ranges::move(values, std::back_inserter(values_));
  }

  [[nodiscard]] const std::string& Text() const { return text_; }

  void BindTo(Statement& statement) const {
    for (const Value& value : values_) {
      if (const auto* text = std::get_if<std::string>(&value)) {
        statement.Bind(std::string_view(*text));
      } else {
        statement.Bind(std::get<double>(value));
      }
    }
  }

 private:
  std::string text_;
  std::vector<Value> values_;
};

/// The values of a column that a pattern fits: the same text, else what it matches as a shell's.
/// Throws a UsageError that says what there is where it fits nothing.
std::vector<std::string> FittingNames(const Database& database, const std::string& table,
                                      const std::string& column, const std::string& pattern) {
  Statement same = database.Prepare("SELECT 1 FROM " + table + " WHERE " + column + " = ? LIMIT 1");
  same.Bind(std::string_view(pattern));
  if (same.Step()) {
    return {pattern};
  }
  // From one value to the next: there are far fewer than rows.
  const std::string least = "(SELECT min(" + column + ") FROM " + table;
  Statement all = database.Prepare("WITH RECURSIVE names(found) AS (SELECT " + least +
                                   ") UNION ALL SELECT " + least + " WHERE " + column +
                                   " > found) FROM names WHERE found IS NOT NULL) "
                                   "SELECT found, found GLOB ? FROM names WHERE found IS NOT NULL");
  all.Bind(std::string_view(pattern));
  std::vector<std::string> fitting;
  std::string others;
  constexpr std::size_t kMost = 1000;  // characters
  while (all.Step()) {
    if (all.Integer(1) != 0) {
      fitting.push_back(all.Text(0));
    } else if (others.size() < kMost) {
      others += (others.empty() ? "" : ", ") + QuotedText(all.Text(0));
    } else if (!others.ends_with("...")) {
      others += ", ...";
    }
  }
  if (fitting.empty()) {
    throw UsageError("no " + column + " of " + table + " fits " + QuotedText(pattern) +
                     (others.empty() ? ": there is none" : ": there are " + others));
  }
  return fitting;
}

/// "column" is one of the values.
void AddOneOf(const std::string& column, const std::vector<std::string>& names,
              std::string& condition, std::vector<Conditions::Value>& values) {
  condition += column + " IN (?";
  for (std::size_t i = 1; i < names.size(); ++i) {
    condition += ", ?";
  }
  condition += ')';
  values.insert(values.end(), names.begin(), names.end());
}

/// Whether so few rows of "extremes" fit that it is best to begin with them.
bool AreFew(const Database& database, const std::string& condition,
            const std::vector<Conditions::Value>& values) {
  constexpr std::int64_t kFew = 5000;
  Conditions conditions;
  conditions.Add(condition, values);
  Statement statement =
      database.Prepare("SELECT count(*) FROM (SELECT 1 FROM extremes e WHERE 1" +
                       conditions.Text() + " LIMIT " + std::to_string(kFew) + ")");
  conditions.BindTo(statement);
  return statement.Step() && statement.Integer(0) < kFew;
}

/// Models that have an extreme beyond a limit. Of vectors the magnitude counts, else any component.
void AddLimit(const Database& database, const std::vector<std::string>& results,
              const std::string& limit, double value, bool isAlone, Conditions& conditions) {
  std::string fits;
  std::vector<Conditions::Value> values;
  AddOneOf("result", results, fits, values);
  values.emplace_back(value);
  const std::string counts =
      " AND (component = -1 OR NOT EXISTS (SELECT 1 FROM extremes v WHERE v.model_id = e.model_id "
      "AND v.part_id = e.part_id AND v.result = e.result AND v.component = -1))";
  if (isAlone || AreFew(database, fits + " AND " + limit, values)) {
    conditions.Add(
        "id IN (SELECT model_id FROM extremes e WHERE " + fits + " AND " + limit + counts + ')',
        values);
  } else {
    conditions.Add("EXISTS (SELECT 1 FROM extremes e WHERE e.model_id = models.id AND +" + fits +
                       " AND +" + limit + counts + ')',
                   values);
  }
}

/// "isAlone" says whether nothing else is asked for.
void AddResult(const Database& database, const Options& options, bool isAlone,
               Conditions& conditions) {
  const std::vector<std::string> results =
      FittingNames(database, "results", "name", *options.result);
  if (options.above) {
    AddLimit(database, results, "max > ?", *options.above, isAlone, conditions);
  }
  if (options.below) {
    AddLimit(database, results, "min < ?", *options.below, isAlone && !options.above, conditions);
  }
  if (!options.above && !options.below) {
    std::string fits;
    std::vector<Conditions::Value> values;
    AddOneOf("name", results, fits, values);
    conditions.Add("id IN (SELECT model_id FROM results WHERE " + fits + ')', values);
  }
}

void RequireScanned(const Database& database, const char* column, const char* option) {
  const std::string sql =
      std::string("SELECT 1 FROM models WHERE ") + column + " = 1 AND gone = 0 LIMIT 1";
  if (!database.Number(sql)) {
    throw UsageError("nothing was scanned with " + std::string(option));
  }
}

Conditions ConditionsOf(const Database& database, const Options& options) {
  Conditions conditions;
  const std::string words = WordsOf(options.text);
  if (!words.empty()) {
    conditions.Add("id IN (SELECT rowid FROM texts WHERE texts MATCH ?)", {words});
  }
  if (options.result) {
    const bool isAlone = words.empty() && !options.category && !options.failed;
    AddResult(database, options, isAlone, conditions);
  }
  if (options.failed) {
    conditions.Add("failure_code IS NOT NULL");
  }
  if (options.duplicates) {
    conditions.Add(
        "digest IN (SELECT digest FROM models WHERE digest IS NOT NULL AND gone = 0 "
        "GROUP BY digest HAVING count(*) > 1)");
  }
  if (options.category) {
    // Many models have the same one: whatever else leads to few is the better way in ("+").
    const bool isLed =
        !words.empty() || options.failed || conditions.Text().find("id IN") != std::string::npos;
    std::string fits;
    std::vector<Conditions::Value> values;
    AddOneOf(isLed ? "+category" : "category",
             FittingNames(database, "models", "category", *options.category), fits, values);
    conditions.Add(fits, values);
  }
  return conditions;
}

Statement Ask(const Database& database, const Options& options) {
  if (options.duplicates) {
    RequireScanned(database, "has_hash", "--hash");
  }
  if (options.above || options.below) {
    RequireScanned(database, "has_stats", "--stats");
  }
  const char* order = options.duplicates ? "digest, path"
                      : options.failed   ? "failure_code, path"
                                         : "path";
  const Conditions conditions = ConditionsOf(database, options);
  Statement statement = database.Prepare(
      std::string("SELECT path AS file, failure_code AS failureCode, bytes, title, "
                  "category, nodes, elements, part_count AS partCount") +
      (options.duplicates ? ", digest" : "") + " FROM models WHERE gone = 0" + conditions.Text() +
      " ORDER BY " + order);
  conditions.BindTo(statement);
  return statement;
}

/// What is wrong with a limit; empty where nothing is.
std::string LimitFault(const std::string& text) {
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return isNumber && std::isfinite(number) ? "" : QuotedText(text) + " is no number";
}

constexpr const char* kNotes =
    "TEXT is one or more words of titles and of names of parts and results, all of which a model\n"
    "has; one that ends in * is the beginning of a word. C and R are names, or patterns as a "
    "shell\n"
    "has them. --above and --below look at the magnitude of vectors, else at any component, over "
    "all\n"
    "steps.\n"
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
      ->check(LimitFault)
      ->option_text("X");
  app.add_option("--below", options->below, "Where it gets below X")
      ->needs(result)
      ->check(LimitFault)
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
