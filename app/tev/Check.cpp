// tev check: whether models are whole, and what is lost of them.

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Check/ModelCheck.h"
#include "Lbt/Util/Exception.h"
#include "tev/Entries.h"
#include "tev/FindingLines.h"
#include "tev/Json.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using LbtTev::Analysis::ShownName;
using LbtTev::Check::CheckModel;
using LbtTev::Check::CheckResult;
using LbtTev::Check::Finding;
using LbtTev::Check::Limit;
using LbtTev::Check::NumberedName;
using LbtTev::Check::Verdict;

/// What was found of one file: the result, and the failure where it makes the status 2.
struct Outcome {
  CheckResult result;
  std::optional<Failure> failure;
};

std::string_view TextOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return "OK";
    case Verdict::Warning:
      return "WARNING";
    case Verdict::Damaged:
      return "DAMAGED";
    case Verdict::NotAModel:
      return "NOT A TEV FILE";
    case Verdict::Unreadable:
      return "UNREADABLE";
  }
  return "";
}

/// What is lost of a file: nothing, where it is damaged in ways that leave all there.
std::vector<std::string> LostThings(const CheckResult& result) {
  if (result.isAllLost || result.verdict == Verdict::NotAModel ||
      result.verdict == Verdict::Unreadable) {
    return {"the whole model"};
  }
  std::vector<std::string> things;
  for (const auto& [count, thing] : {std::pair(result.lostStreams, "stream"),
                                     {result.lostBlocks, "block"},
                                     {result.lostRecords, "record"},
                                     {result.lostParts, "part"},
                                     {result.lostVariables, "variable"},
                                     {result.lostMeshes, "mesh"}}) {
    if (count != 0) {
      things.push_back(Counted(count, thing));
    }
  }
  return things;
}

/// "4 blocks, 1 record and 2 variables are lost", or else how much is wrong.
std::string LossText(const CheckResult& result) {
  const std::vector<std::string> things = LostThings(result);
  if (things.empty()) {
    return Counted(result.damages, "fault");
  }
  std::string text = things.front();
  for (std::size_t i = 1; i < things.size(); ++i) {
    text += (i + 1 < things.size() ? ", " : " and ") + things[i];
  }
  const bool isOne = result.isAllLost || result.lostStreams + result.lostBlocks +
                                                 result.lostRecords + result.lostParts +
                                                 result.lostVariables + result.lostMeshes ==
                                             1;
  return text + (isOne ? " is lost" : " are lost");
}

/// What stands after the verdict.
std::string ReasonOf(const Outcome& outcome) {
  if (outcome.failure) {
    return outcome.failure->what();
  }
  return outcome.result.verdict == Verdict::Warning ? Counted(outcome.result.warnings, "warning")
                                                    : "";
}

std::string LookText(const CheckResult& result) {
  return result.looksLike.empty() ? "it does not begin with the signature of one"
                                  : "it looks like " + result.looksLike;
}

std::optional<Failure> FailureOf(const CheckResult& result) {
  switch (result.verdict) {
    case Verdict::Damaged:
      return Failure(FailureCode::Damaged, LossText(result));
    case Verdict::NotAModel:
      return Failure(FailureCode::NotAModel, LookText(result));
    default:
      return std::nullopt;
  }
}

/// Checks the file of an input. What the check throws makes it unreadable.
Outcome CheckInput(const Input& input, const LbtTev::Check::FindingSink& sink, Limit limit,
                   Progress& progress) {
  Outcome outcome;
  outcome.failure = input.failure;
  if (!input.failure || input.failure->Code() == FailureCode::NotAModel) {
    try {
      outcome.result = CheckModel(
          input.source, sink, limit,
          [&progress](std::size_t number, std::size_t all) { progress.ShowBlocks(number, all); },
          TakeFile(input));
      outcome.failure = FailureOf(outcome.result);
      return outcome;
    } catch (...) {
      outcome.failure = FailureOfCheck(input.source);
    }
  }
  outcome.result.verdict = Verdict::Unreadable;
  return outcome;
}

void WriteNamed(const char* name, const std::optional<NumberedName>& named, const char* numberName,
                JsonWriter& json) {
  json.Key(name);
  if (!named) {
    json.Value(nullptr);
    return;
  }
  json.OpenObject();
  json.Member(numberName, named->number);
  json.Member("name", ShownName(named->name));
  json.Close();
}

/// Only single values become Json: freeing any other may take memory, and there may be none.
void WriteObject(const Finding& finding, JsonWriter& json) {
  json.OpenObject();
  json.Member("severity", NameOf(SeverityOf(finding.kind)));
  json.Member("kind", std::string(NameOf(finding.kind)));
  json.Key("block");
  json.Value(finding.block ? Json(finding.block->number) : Json(nullptr));
  json.Key("stream");
  json.Value(finding.block    ? Json(ShownName(finding.block->name))
             : finding.stream ? Json(ShownName(*finding.stream))
                              : Json(nullptr));
  json.Member("offset", JsonOrNull(finding.offset));
  WriteNamed("node", finding.node, "id", json);
  WriteNamed("variable", finding.variable, "index", json);
  json.Member("text", ShownName(OneLine(finding.text)));
  json.Member("claimed", JsonOrNull(finding.claimed));
  json.Member("found", JsonOrNull(finding.found));
  json.Member("cause", JsonOrNull(finding.cause));
  json.Close();
}

/// One run of the verb: what it was asked for, and how many files came to which verdict.
class CheckRun {
 public:
  bool isVerbose = false;
  bool isAll = false;

  void Answer(const Input& input, AnswerWriter& writer) {
    Outcome outcome = writer.IsJson() ? WriteJson(input, writer) : WriteText(input, writer);
    ++verdicts_.at(static_cast<std::size_t>(outcome.result.verdict));
    if (outcome.failure) {
      writer.Fail(*outcome.failure, Told::InTheAnswer);
      for (std::string& thing : LostThings(outcome.result)) {
        writer.AddMissing(std::move(thing));
      }
    }
  }

  /// The answer is on standard output, so that how it went in all goes to the other one.
  void WriteSummary() const {
    constexpr std::array<const char*, 5> kTexts{" OK", " with warnings", " damaged",
                                                " not a Tev file", " unreadable"};
    std::uint64_t files = 0;
    std::string text;
    for (std::size_t i = 0; i < verdicts_.size(); ++i) {
      files += verdicts_[i];
      if (verdicts_[i] != 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(verdicts_[i]) + kTexts.at(i);
      }
    }
    std::cerr << "tev: " + Counted(files, "file") + (text.empty() ? "" : ": " + text) + '\n'
              << std::flush;
  }

 private:
  [[nodiscard]] Limit GetLimit() const { return isAll ? Limit::None : Limit::TenThousand; }

  [[nodiscard]] Outcome WriteJson(const Input& input, AnswerWriter& writer) const {
    JsonWriter& json = writer.Facts();
    json.Key("findings");
    json.OpenList();
    Outcome outcome = CheckInput(
        input, [&](const Finding& finding) { WriteObject(finding, json); }, GetLimit(),
        writer.GetProgress());
    while (json.Depth() > 0) {
      json.Close();
    }
    json.Key("more");
    json.OpenObject();
    for (const auto& [kind, count] : outcome.result.untold) {
      json.Member(NameOf(kind), count);
    }
    json.Close();
    json.Member("verdict", std::string(NameOf(outcome.result.verdict)));
    return outcome;
  }

  [[nodiscard]] Outcome WriteText(const Input& input, AnswerWriter& writer) const {
    FindingLines lines(isAll);
    Outcome outcome = CheckInput(
        input, [&](const Finding& finding) { lines.Add(finding); }, GetLimit(),
        writer.GetProgress());
    const Verdict verdict = outcome.result.verdict;
    if (verdict == Verdict::Ok && !isVerbose) {
      return outcome;
    }
    const std::string reason = ReasonOf(outcome);
    writer.Text() << VisibleText(input.path) << ": " << TextOf(verdict)
                  << (reason.empty() ? "" : ": ") << VisibleText(reason) << '\n';
    lines.WriteTo(writer.Text());
    for (const auto& [kind, count] : outcome.result.untold) {
      writer.Text() << "  " << count << " more of the kind " << NameOf(kind)
                    << " (--all lists them)\n";
    }
    return outcome;
  }

  std::array<std::uint64_t, 5> verdicts_{};
};

constexpr const char* kNotes =
    "Each file gets a verdict: OK (with -v only), WARNING (nothing is lost), DAMAGED (something\n"
    "is), NOT A TEV FILE, or UNREADABLE (it could not be checked).\n"
    "Exit status: 0 all files are OK or have warnings, 1 bad usage, 2 a file is damaged, none, or\n"
    "could not be checked.\n"
    "Examples: tev check model.tev\n"
    "          tev check --jsonl archive/ >findings.jsonl";

Action SetUp(CLI::App& app) {
  const auto check = std::make_shared<CheckRun>();
  FileRun run{.verb = "check", .layout = TextLayout::Lines};
  run.answer = [check](const Input& input, AnswerWriter& writer) { check->Answer(input, writer); };
  run.finish = [check](AnswerWriter&) { check->WriteSummary(); };
  run.takesFailures = true;
  const auto files = AddFileOptions(app, std::move(run));
  app.add_flag("-v,--verbose", check->isVerbose, "Name the files that are OK, too");
  app.add_flag("--all", check->isAll,
               "List all findings: those that follow from others, and more than 10,000 of a kind");
  return [files] { return RunOverFiles(*files); };
}

}  // namespace

void AnswerCheck(const Input& input, AnswerWriter& writer) { CheckRun().Answer(input, writer); }

Verb CheckVerb() {
  return {.name = "check", .summary = "Look for damage in models", .notes = kNotes, .setUp = SetUp};
}
