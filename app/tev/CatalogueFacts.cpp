// Gathers what a catalogue has of one model, from what other verbs tell of it.

#include "tev/CatalogueFacts.h"

#include <map>
#include <nlohmann/json.hpp>
#include <tuple>
#include <utility>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Check/ModelCheck.h"
#include "tev/Digest.h"
#include "tev/Entries.h"
#include "tev/FieldOptions.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;

constexpr std::int64_t kMagnitude = -1;
constexpr const char* kCannotReadAll = "cannot read all of it";

template <class T>
std::optional<std::int64_t> Whole(const std::optional<T>& number) {
  return number ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
}

void TakePrograms(const LbtTev::Tree& tree, CataloguedModel& row) {
  const std::vector<Program> programs = ProgramsOf(tree);
  if (!programs.empty()) {
    const Program& latest = programs.back();
    row.application = latest.record->applicationName;
    row.applicationVersion = latest.record->applicationVersion;
    row.modified = latest.dateIso ? latest.dateIso : std::optional(latest.record->date);
  }
}

void TakeParts(const Model& model, const LostData& lost, CataloguedModel& row) {
  model.RequireModestPaths();
  for (const Part& part : model.Parts()) {
    CataloguedModel::Part& taken = row.parts.emplace_back();
    taken.id = part.id;
    taken.name = part.name;
    taken.path = JsonText(Json(model.PathOf(part)));
    taken.kind = TextOf(part.kind);
    if (!IsLost(model, part, lost)) {
      taken.nodes = static_cast<std::int64_t>(part.nodes);
      taken.elements = static_cast<std::int64_t>(part.elements);
    }
  }
  row.partCount = Whole(UnlessLost(lost.hasRecords, row.parts.size(), row.parts.size()));
}

void TakeFacts(const LbtTev::Tree& tree, const Model& model, const LostData& lost,
               CataloguedModel& row) {
  const RootFacts root = RootFactsOf(tree);
  row.version = tree.GetContainerVersion();
  row.title = model.Title();
  row.category = CategoryOf(model, lost);
  row.nodes = root.nodes;
  row.elements = root.elements;
  TakePrograms(tree, row);
  TakeParts(model, lost, row);
  for (const Step& step : model.Steps()) {
    row.steps.push_back({step.text, step.label, step.value});
  }
  for (const Result& result : model.Results()) {
    row.results.push_back(
        {ShownName(result.name), Whole(result.components), TextOf(result.location)});
  }
}

/// The extremes of parts and results over all steps.
class Extremes {
 public:
  explicit Extremes(const Model& model) : model_(&model) {}

  void Add(const FieldOfPart& each, const Statistics& statistics) {
    if (statistics.magnitude) {
      Add(each, kMagnitude, *statistics.magnitude, statistics.counted);
    }
    std::int64_t component = 0;
    for (const Figures& figures : statistics.components) {
      Add(each, component++, figures, statistics.counted);
    }
  }

  [[nodiscard]] std::vector<CataloguedModel::Extreme> Take() {
    std::vector<CataloguedModel::Extreme> rows;
    for (auto& [key, row] : rows_) {
      rows.push_back(std::move(row));
    }
    return rows;
  }

 private:
  void Add(const FieldOfPart& each, std::int64_t component, const Figures& figures,
           std::size_t counted) {
    const auto [found, isNew] = rows_.try_emplace({each.part, each.field->result, component});
    CataloguedModel::Extreme& row = found->second;
    if (isNew) {
      row.part = model_->Parts()[each.part].id;
      row.result = ShownName(each.field->result);
      row.component = component;
    }
    row.notFinite += static_cast<std::int64_t>(counted - figures.finite);
    if (figures.finite == 0) {
      return;
    }
    const auto step =
        each.field->step ? std::optional(model_->Steps()[*each.field->step].text) : std::nullopt;
    if (!row.min || figures.min.value < *row.min) {
      row.min = figures.min.value;
      row.minAt = Whole(figures.min.id);
      row.minStep = step;
    }
    if (!row.max || figures.max.value > *row.max) {
      row.max = figures.max.value;
      row.maxAt = Whole(figures.max.id);
      row.maxStep = step;
    }
  }

  const Model* model_;
  std::map<std::tuple<std::size_t, std::string_view, std::int64_t>, CataloguedModel::Extreme> rows_;
};

/// In the order of steps, so that of several equal extremes the one of the first step counts.
std::vector<FieldOfPart> FieldsByStep(const Model& model) {
  std::vector<FieldOfPart> fields = SelectFields(model, Selection());
  std::ranges::stable_sort(fields, {}, [](const FieldOfPart& each) { return each.field->step; });
  return fields;
}

void TakeStatistics(const Model& model, AnswerWriter& writer, CataloguedModel& row) {
  Extremes extremes(model);
  const std::vector<FieldOfPart> fields = FieldsByStep(model);
  GatherStatistics(model, fields, [&](const FieldOfPart& each, const FieldStatistics& found) {
    if (found.failure != nullptr) {
      writer.AddMissing(NameOfField(model, each) + ": " + FailureOf(found.failure).what());
    }
    if (found.statistics) {
      extremes.Add(each, *found.statistics);
    }
  });
  row.extremes = extremes.Take();
}

/// A model of which something cannot be read has no digest: it would be that of another one.
void TakeDigest(const Model& model, const AnswerWriter& writer, CataloguedModel& row) {
  if (!writer.IsComplete()) {
    return;
  }
  try {
    row.digest = DigestOf(model);
  } catch (const std::exception& exception) {
    if (LbtLbf::IsLackOfMemory(exception)) {
      throw;
    }
  }
}

void TakeFindings(const std::string& source, CataloguedModel& row) {
  using LbtTev::Check::Finding;
  const auto result = LbtTev::Check::CheckModel(source, [&row](const Finding& finding) {
    CataloguedModel::Finding& taken = row.findings.emplace_back();
    taken.severity = NameOf(SeverityOf(finding.kind));
    taken.kind = NameOf(finding.kind);
    if (finding.block) {
      taken.block = static_cast<std::int64_t>(finding.block->number);
    }
    if (finding.node) {
      taken.node = static_cast<std::int64_t>(finding.node->number);
    }
    taken.text = ShownName(OneLine(finding.text));
  });
  if (result.hasRefusedRead) {
    row.findings.clear();
    throw Failure(FailureCode::IoError, kCannotReadAll);
  }
}

/// What the values tell. The facts that there are stay where that fails.
void TakeValues(const Model& model, const ScanDepth& depth, AnswerWriter& writer,
                CataloguedModel& row) {
  try {
    if (depth.stats) {
      TakeStatistics(model, writer, row);
    }
    if (depth.hash) {
      TakeDigest(model, writer, row);
    }
  } catch (const std::exception&) {
    writer.Fail(FailureOfCurrentException());
  }
}

void TakeModel(const Input& input, const ScanDepth& depth, AnswerWriter& writer,
               CataloguedModel& row) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    TakeFacts(tree, model, writer.Lost(), row);
    TakeValues(model, depth, writer, row);
    row.mayPass = tree.GetFile().HasRefusedRead();
    if (row.mayPass) {
      writer.Fail({FailureCode::IoError, kCannotReadAll});
    }
  });
}

}  // namespace

CataloguedModel GatherCatalogued(const Input& input, std::string path, const ScanDepth& depth) {
  EntryInMemory entry("scan", input.path);
  AnswerWriter& writer = entry.Writer();
  CataloguedModel row;
  try {
    if (input.failure) {
      throw Failure(*input.failure);
    }
    TakeModel(input, depth, writer, row);
  } catch (...) {
    row = {};  // half of the facts are none
    writer.FailWithoutFacts(FailureOfCurrentException());
  }
  if (depth.check && (!input.failure || input.failure->Code() == FailureCode::NotAModel)) {
    try {
      TakeFindings(input.source, row);
    } catch (...) {
      const Failure failure = FailureOfCheck(input.source);
      writer.Fail(failure);  // the first failure counts
      row.mayPass = row.mayPass || failure.Code() != FailureCode::UnsupportedVersion;
    }
  }
  row.path = std::move(path);
  row.has = depth;
  row.isComplete = writer.IsComplete();
  row.failure = writer.GetFailure();
  return row;
}
