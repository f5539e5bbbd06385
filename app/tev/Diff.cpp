// tev diff: whether two models agree, and where they do not.

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/ModelDifference.h"
#include "Lbt/Util/NumberText.h"
#include "tev/Entries.h"
#include "tev/FieldOptions.h"
#include "tev/Json.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;
using Kind = ModelDifference::Kind;
using Side = ModelDifference::Side;

struct Options {
  std::string a;
  std::string b;
  std::shared_ptr<Selection> selection = std::make_shared<Selection>();
  std::string relative = "0";
  std::string absolute = "0";
  bool quiet = false;
  std::shared_ptr<unsigned int> jobs = std::make_shared<unsigned int>(1);
  std::shared_ptr<FileRun> run;
};

/// As diff(1) has them.
enum class Verdict : std::uint8_t { Same = 0, Different = 1, Failed = 2 };

/// A number that is not negative. Throws an OptionError.
double NumberOf(std::string_view text, const char* option) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || !(number >= 0)) {
    throw OptionError(std::string(option) + ": " + QuotedText(text) + " is no number from 0 on");
  }
  return number;
}

Tolerance ToleranceOf(const Options& options) {
  constexpr std::string_view kOfMax = "*max";
  std::string_view absolute = options.absolute;
  Tolerance tolerance{.relative = NumberOf(options.relative, "--rtol")};
  if (absolute.ends_with(kOfMax)) {
    tolerance.isAbsoluteOfMax = true;
    absolute.remove_suffix(kOfMax.size());
  }
  tolerance.absolute = NumberOf(absolute, "--atol");
  return tolerance;
}

// --- JSON ---------------------------------------------------------------------------------------

template <class T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

const char* TextOf(Side side) {
  return side == Side::OnlyInA ? "A" : side == Side::OnlyInB ? "B" : "both";
}

Json JsonOf(const NumbersDifference& numbers, const std::optional<std::int32_t>& id) {
  const bool differs = numbers.beyond != 0;
  const auto orNull = [differs](const auto& value) {
    return differs ? Json(value) : Json(nullptr);
  };
  return {{"compared", numbers.compared},
          {"beyond", numbers.beyond},
          {"onlyInA", numbers.onlyInA},
          {"onlyInB", numbers.onlyInB},
          {"largest", orNull(numbers.largest)},
          {"component", orNull(numbers.component + 1)},
          {"index", orNull(numbers.index)},
          {"id", OrNull(id)},
          {"a", orNull(numbers.a)},
          {"b", orNull(numbers.b)},
          {"rms", numbers.rms}};
}

/// The part in a model; null where it is not there, or the difference is about none.
const Part* PartIn(const Model& model, const std::optional<std::size_t>& part) {
  return part ? &model.Parts()[*part] : nullptr;
}

/// Members on the part: parts that are compared have the same name and path.
void AddPart(const Model& a, const Model& b, const ModelDifference& difference, Json& json) {
  const Part* ofA = PartIn(a, difference.partInA);
  const Part* ofB = PartIn(b, difference.partInB);
  const Part* part = ofA != nullptr ? ofA : ofB;
  json["part"] = part == nullptr ? Json(nullptr) : Json(part->name);
  json["partIdInA"] = ofA == nullptr ? Json(nullptr) : Json(ofA->id);
  json["partIdInB"] = ofB == nullptr ? Json(nullptr) : Json(ofB->id);
  json["path"] = nullptr;
  if (part != nullptr) {
    const Model& model = part == ofA ? a : b;
    model.ChargePathOf(*part);
    json["path"] = model.PathOf(*part);
  }
}

Json JsonOf(const Model& a, const Model& b, const ModelDifference& difference) {
  Json json{{"kind", TextOf(difference.kind)}, {"in", TextOf(difference.side)}};
  AddPart(a, b, difference, json);
  json["result"] = OrNull(difference.result);
  json["step"] = OrNull(difference.step);
  json["a"] = OrNull(difference.a);
  json["b"] = OrNull(difference.b);
  json["numbers"] = difference.numbers ? JsonOf(*difference.numbers, difference.id) : Json(nullptr);
  json["faces"] = OrNull(difference.differentFaces);
  return json;
}

const char* VerdictText(std::size_t differences, bool isComplete) {
  return differences != 0 ? "different" : isComplete ? "same" : "incomplete";
}

// --- Text ---------------------------------------------------------------------------------------

/// Name and, where that does not tell which part it is, the id: both where they are not the same.
std::string TextOfPart(const Part* a, const Part* b, Side side) {
  const Part& part = a == nullptr || (side == Side::OnlyInB && b != nullptr) ? *b : *a;
  const bool isInDoubt = (a != nullptr && a->hasNamesake) || (b != nullptr && b->hasNamesake);
  if (!isInDoubt) {
    return QuotedText(part.name);
  }
  const bool areTwo = side == Side::Both && a != nullptr && b != nullptr && a->id != b->id;
  return QuotedText(part.name) + " (id " + std::to_string(part.id) +
         (areTwo ? " and " + std::to_string(b->id) : "") + ')';
}

std::string NameOf(const Model& a, const Model& b, const ModelDifference& difference) {
  std::string name(TextOf(difference.kind));
  const Part* ofA = PartIn(a, difference.partInA);
  const Part* ofB = PartIn(b, difference.partInB);
  if (ofA != nullptr || ofB != nullptr) {
    name += ' ' + TextOfPart(ofA, ofB, difference.side);
  }
  for (const auto& text : {difference.result, difference.step}) {
    name += text ? ' ' + QuotedText(*text) : "";
  }
  return name;
}

std::string TextOf(const NumbersDifference& numbers, const std::optional<std::int32_t>& id) {
  using Lbt::Util::ToString;
  std::string text;
  if (numbers.beyond != 0) {
    text = std::to_string(numbers.beyond) + " of " + std::to_string(numbers.compared) +
           " numbers differ, by " + ToString(numbers.largest) +
           " at most: " + ExactText(static_cast<float>(numbers.a)) + " and " +
           ExactText(static_cast<float>(numbers.b)) + ", component " +
           std::to_string(numbers.component + 1) + " at " +
           (id ? std::to_string(*id) : '[' + std::to_string(numbers.index) + ']') +
           ", root mean square " + ToString(numbers.rms);
  }
  for (const auto& [count, side] :
       {std::pair(numbers.onlyInA, " only in A"), {numbers.onlyInB, " only in B"}}) {
    if (count != 0) {
      text += (text.empty() ? "" : "; ") + std::to_string(count) + side;
    }
  }
  return text;
}

std::string TextOf(const Model& a, const Model& b, const ModelDifference& difference) {
  const std::string name = NameOf(a, b, difference);
  if (difference.side != Side::Both) {
    return name + ": only in " + TextOf(difference.side);
  }
  if (difference.numbers) {
    return name + ": " + TextOf(*difference.numbers, difference.id);
  }
  if (difference.differentFaces) {
    return name + ": " + std::to_string(*difference.differentFaces) + " differ";
  }
  return name + ": " + QuotedText(difference.a.value_or("")) + " and " +
         QuotedText(difference.b.value_or(""));
}

std::string ClosingText(std::size_t differences, bool isComplete) {
  if (differences == 0) {
    return isComplete ? "The models are the same" : "No difference in what could be compared";
  }
  return "The models differ: " + std::to_string(differences) +
         (differences == 1 ? " difference" : " differences");
}

// --- The run ------------------------------------------------------------------------------------

std::string TextOf(const Model& model, const FailedComparison& failed) {
  const bool isMesh = failed.result == "mesh";
  return NameInPart(model.Parts()[failed.part],
                    isMesh ? failed.result : "result " + QuotedText(failed.result), failed.step) +
         ": " + FailureOf(failed.failure).what();
}

/// Loads a model; returns what of it is lost.
LostData Load(const Input& input, LbtTev::Tree& tree, AnswerWriter& writer) {
  writer.Blame(input.path);
  if (input.failure) {
    throw Failure(*input.failure);
  }
  NamingBlocks(tree.GetFile(), [&] { LoadModel(tree, input, writer); });
  return std::exchange(writer.Lost(), {});
}

/// Compares both models; returns how many differences there are.
std::size_t Compare(const Model& a, const Model& b, const std::pair<LostData, LostData>& lost,
                    const Options& options, const Tolerance& tolerance, AnswerWriter& writer) {
  std::size_t count = 0;
  const bool isJson = writer.IsJson();
  if (isJson) {
    writer.Facts().Member("other", options.b);
    writer.Facts().Key("differences");
    writer.Facts().OpenList();
  }
  const DifferenceSink sink{.differs =
                                [&](const ModelDifference& difference) {
                                  ++count;
                                  if (isJson) {
                                    writer.Facts().Value(JsonOf(a, b, difference));
                                  } else if (!options.quiet) {
                                    writer.Text() << TextOf(a, b, difference) << '\n';
                                  }
                                },
                            .failed =
                                [&](const FailedComparison& failed) {
                                  writer.Blame(failed.isInA ? options.a : options.b);
                                  writer.AddMissing(TextOf(failed.isInA ? a : b, failed));
                                }};
  const LbtTev::ModelStream::Request pathsOfA(a.GetTree().GetStreams().tree);
  const LbtTev::ModelStream::Request pathsOfB(b.GetTree().GetStreams().tree);
  Selecting(options.a + ", " + options.b, [&] {
    CompareModels(a, b, *options.selection, tolerance, sink, *options.jobs > 1, lost);
  });
  if (isJson) {
    writer.Facts().Close();
    writer.Facts().Member("verdict", VerdictText(count, writer.IsComplete()));
  } else if (!options.quiet) {
    writer.Text() << ClosingText(count, writer.IsComplete()) << '\n';
  }
  return count;
}

/// The same, once it has opened them.
std::size_t Compare(const Input& inputA, const Input& inputB, const Options& options,
                    const Tolerance& tolerance, AnswerWriter& writer) {
  LbtTev::Tree treeA;
  LbtTev::Tree treeB;
  std::pair<LostData, LostData> lost;
  lost.first = Load(inputA, treeA, writer);
  lost.second = Load(inputB, treeB, writer);
  writer.Blame(options.a);
  return Compare(Model(treeA), Model(treeB), lost, options, tolerance, writer);
}

Verdict Run(const Options& options) {
  const Tolerance tolerance = ToleranceOf(options);
  FileRun& run = *options.run;
  AnswerOutput output(run.output);
  output.RequireApartFrom({options.a, options.b});
  Inputs inputs({options.a, options.b}, "", Inputs::Folders::Refused);
  Progress progress(run.progress);
  AnswerWriter writer({.verb = run.verb, .form = run.form, .layout = TextLayout::Lines}, output,
                      progress);
  const Input a = *inputs.Next();
  const Input b = *inputs.Next();
  progress.Show(0, 1, options.a);
  writer.BeginFile(options.a);
  std::size_t count = 0;
  try {
    count = Compare(a, b, options, tolerance, writer);
  } catch (const UsageError&) {
    throw;
  } catch (const OutputFailure&) {
    throw;
  } catch (...) {
    writer.FailWithoutFacts(FailureOfCurrentException());
  }
  writer.EndFile();
  if (a.failure && b.failure) {
    ReportFailure(b.path, b.failure->what());  // the answer has one failure
  }
  writer.Close();
  output.Finish();
  if (writer.HasFailed()) {
    return Verdict::Failed;
  }
  return count == 0 ? Verdict::Same : Verdict::Different;
}

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  options->run = std::make_shared<FileRun>(FileRun{.verb = "diff"});
  app.add_option("A", options->a, "A model")->required()->option_text(" ");
  app.add_option("B", options->b, "The model to compare it with")->required()->option_text(" ");
  app.add_option("--rtol", options->relative, "How far numbers may be apart, by the larger one")
      ->option_text("R");
  app.add_option("--atol", options->absolute,
                 "How far they may be apart anyhow; 1e-6*max is by the field's largest number")
      ->option_text("A");
  AddSelectionOptions(app, options->selection);
  AddJobsOption(app, options->jobs);
  app.add_flag("-q,--quiet", options->quiet, "Tell the verdict by the status alone");
  AddAnswerOptions(app, options->run);
  app.get_option("--quiet")
      ->excludes(app.get_option("--json"))
      ->excludes(app.get_option("--jsonl"));
  return [options] { return static_cast<Status>(Run(*options)); };
}

constexpr const char* kNotes =
    "Compared are title, category, counts, parts, meshes, steps, results and all values; not how\n"
    "they are stored, programs, dates, attributes and materials. Tuples are matched by the ids of\n"
    "their nodes and elements, where none repeats. Without tolerances numbers must be equal.\n"
    "Exit status: 0 the models are the same, 1 they differ, 2 a failure, also where not all could\n"
    "be compared, or bad usage.\n"
    "Example: tev diff --rtol 1e-5 --atol '1e-6*max' old.tev new.tev";

}  // namespace

void AnswerDiff(const Input& a, const Input& b, const std::string& relative,
                const std::string& absolute, AnswerWriter& writer) {
  Options options;
  options.a = a.path;
  options.b = b.path;
  options.relative = relative;
  options.absolute = absolute;
  *options.jobs = 2;
  const Tolerance tolerance = ToleranceOf(options);
  static_cast<void>(Compare(a, b, options, tolerance, writer));
}

Verb DiffVerb() {
  return {.name = "diff",
          .summary = "Tell in what two models differ",
          .notes = kNotes,
          .setUp = SetUp,
          .badUsage = static_cast<Status>(Verdict::Failed)};
}
