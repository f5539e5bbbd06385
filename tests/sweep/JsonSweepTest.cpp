// Runs the verbs of tev on a dozen small models that are damaged in every systematic way, and
// checks what they write as JSON: against the schemas, and against the exit status.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Mutants.h"
#include "Scratch.h"
#include "support/Process.h"
#include "support/TempDir.h"
#include "support/VariedModels.h"
#include "tev/Verbs.h"

namespace {

/// Few files differ in what is told of them, so that most lines are checked once for many files.
constexpr std::size_t kSlice = 97;

/// A verb, with the option that makes it tell most, and what is asked of the model.
struct Command {
  const char* verb;
  const char* option;
  const char* asked = nullptr;
};

class JsonSweep : public testing::TestWithParam<Command> {
 protected:
  /// Keeps the line on the file at "path", and expects a failure in it exactly where the status
  /// says so.
  void Take(const std::string& path) {
    const std::string out = dir_ / "out";
    const std::string sound = dir_ / "sound.tev";
    std::vector<const char*> arguments{"tev", GetParam().verb, GetParam().option, "--jsonl",
                                       "-o",  out.c_str(),     path.c_str()};
    if (IsDiff()) {
      arguments.push_back(sound.c_str());
    }
    if (GetParam().asked != nullptr) {
      arguments.push_back(GetParam().asked);
    }
    std::filesystem::remove(out);
    const int status = RunTev(static_cast<int>(arguments.size()), arguments.data());
    ++count_;
    if (dir_.Has("out")) {
      TakeLine(status, dir_.Read("out"));
    } else if (GetParam().asked == nullptr || status != 1) {  // a model may have nothing of it
      TellContradiction(status, "no answer");
    }
  }

  void TakeLine(int status, const std::string& line) {
    const bool hasFailed = line.find("\"failure\": {\"code\": \"") != std::string::npos;
    const bool hasNone = line.find("\"failure\": null, ") != std::string::npos;
    const bool isDifferent = line.find("\"verdict\": \"different\"") != std::string::npos;
    if (status != (hasFailed ? 2 : IsDiff() && isDifferent ? 1 : 0) || hasFailed == hasNone) {
      TellContradiction(status, line);
    }
    lines_.insert(line);
  }

  void TellContradiction(int status, const std::string& text) {
    ++contradictions_;
    contradiction_ = "status " + std::to_string(status) + ": " + text;
  }

  /// Hands all lines to the schema, in pieces that take little processor time each: a run may not
  /// take much.
  void ExpectSchema() const {
    constexpr std::size_t kPiece = 2000;
    std::string piece;
    std::size_t count = 0;
    for (const std::string& line : lines_) {
      piece += line;
      if (++count % kPiece == 0 || count == lines_.size()) {
        ExpectSchema(piece);
        piece.clear();
      }
    }
  }

  void ExpectSchema(const std::string& lines) const {
    const std::string source = TEVINFO_SOURCE_DIR;
    const auto check =
        tevtest::RunProgram({"python3", source + "/tests/run/check_tev_json.py", "lines",
                             source + "/docs/schema/" + GetParam().verb + ".schema.json"},
                            {.input = tevtest::Redirect::To(dir_.Write("lines", lines))});
    EXPECT_EQ(check.status, 0) << check.output << check.error;
  }

  [[nodiscard]] static bool IsDiff() { return std::string_view(GetParam().verb) == "diff"; }

  const tevtest::TempDir dir_;
  std::set<std::string> lines_;
  std::size_t count_ = 0;
  std::size_t contradictions_ = 0;
  std::string contradiction_;
};

TEST_P(JsonSweep, EveryDamage_IsToldByTheSchemaAndByTheStatus) {
  const ScratchFile file;
  {
    const Silence silence;
    for (const tevtest::VariedModel& model : tevtest::VariedModels()) {
      dir_.Write("sound.tev", model.bytes);  // what a mutant is compared with
      ForEachMutant(model.bytes, Stride(kSlice), [&](const std::string& mutant) {
        file.Write(mutant);
        Take(file.Path());
      });
    }
  }
  EXPECT_EQ(contradictions_, 0U) << contradiction_;
  std::cout << GetParam().verb << ": " << count_ << " files, " << lines_.size() << " answers\n";
  EXPECT_GT(lines_.size(), 50U);
  ExpectSchema();
}

/// Runs "tev" on a file and returns its status.
int StatusOf(std::vector<const char*> arguments, const std::string& path) {
  arguments.insert(arguments.begin(), "tev");
  arguments.push_back(path.c_str());
  return RunTev(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CheckSweep, WhatAnotherVerbCallsDamaged_IsDamagedInTheCheck) {
  const std::vector<std::vector<const char*>> verbs{
      {"info", "--stats"}, {"results", "--stats"}, {"values", "--mesh"}};
  const tevtest::TempDir dir;
  const std::string out = dir / "out";
  const ScratchFile file;
  std::size_t damaged = 0;
  std::vector<std::string> contradictions;
  {
    const Silence silence;
    for (const tevtest::VariedModel& model : tevtest::VariedModels()) {
      ForEachMutant(model.bytes, Stride(kSlice), [&](const std::string& mutant) {
        file.Write(mutant);
        for (std::vector<const char*> verb : verbs) {
          verb.insert(verb.end(), {"-o", out.c_str()});
          if (StatusOf(verb, file.Path()) == 2) {
            ++damaged;
            if (StatusOf({"check", "-o", out.c_str()}, file.Path()) != 2) {
              contradictions.push_back(model.name + ", " + verb.front());
              dir.Write("contradiction.tev", mutant);
            }
          }
        }
      });
    }
  }
  EXPECT_GT(damaged, 100U);
  EXPECT_EQ(contradictions, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Verbs, JsonSweep,
                         testing::Values(Command{"list", "--jsonl"}, Command{"info", "--stats"},
                                         Command{"tree", "--storage"},
                                         Command{"results", "--stats"}, Command{"sets", "--jsonl"},
                                         Command{"sets", "--jsonl", "*"}, Command{"check", "--all"},
                                         Command{"blocks", "--jsonl"}, Command{"diff", "--jsonl"}),
                         [](const auto& command) {
                           return std::string(command.param.verb) +
                                  (command.param.asked != nullptr ? "OfAName" : "");
                         });

}  // namespace
