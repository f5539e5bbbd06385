// Compares two models.

#include "Lbt/Tev/Analysis/ModelDifference.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "GroupDifference.h"
#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Pairing.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Analysis {

namespace {

using Kind = ModelDifference::Kind;
using Side = ModelDifference::Side;

std::string TextOfNumber(const LbtUtil::AttributeMap& attributes, std::string_view name) {
  const auto found = attributes.find(std::string(name));
  return found == attributes.end() ? "" : found->second.GetAttributeString();
}

/// A mesh or a field that both models have.
struct Task {
  std::pair<std::size_t, std::size_t> parts;
  std::size_t step = CommonSteps::kNone;
  // Of a field; null for a mesh.
  const Field* fieldA = nullptr;
  const Field* fieldB = nullptr;
};

/// What came of a task.
struct Outcome {
  std::vector<ModelDifference> differences{};
  std::optional<FailedComparison> failure{};
};

/// What of one model is compared.
struct Compared {
  const Model* model = nullptr;
  Chosen chosen{};
  std::vector<std::size_t> parts{};  ///< those that were asked for, and partners of such
  std::vector<FieldOfPart> fields{};

  void Find(std::vector<std::size_t> ofParts) {
    parts = std::move(ofParts);
    fields = FieldsOfParts(*model, parts, [this](const Field& field) { return chosen.Has(field); });
  }

  [[nodiscard]] std::span<const FieldOfPart> FieldsOf(std::size_t part) const {
    const auto first = std::ranges::lower_bound(fields, part, {}, &FieldOfPart::part);
    return {first, std::ranges::upper_bound(fields, part, {}, &FieldOfPart::part)};
  }

  [[nodiscard]] ResultsByName Results() const {
    ResultsByName results;
    for (const FieldOfPart& each : fields) {
      AddToResults(results, *each.field);
    }
    return results;
  }

  /// The steps of these fields, and of the meshes where they are compared.
  [[nodiscard]] std::vector<bool> Steps(bool withMeshes) const {
    std::vector<bool> steps(chosen.steps.size());
    const auto add = [&](const std::optional<std::size_t>& step) {
      if (step) {
        steps[*step] = chosen.steps[*step];
      }
    };
    for (const FieldOfPart& each : fields) {
      add(each.field->step);
    }
    std::set<const Geometry*> seen;
    for (const std::size_t part : parts) {
      if (withMeshes && seen.insert(model->Parts()[part].geometry).second) {
        std::ranges::for_each(model->StepsWith(model->Parts()[part], kMeshRoles), add);
      }
    }
    return steps;
  }
};

class Comparison {
 public:
  Comparison(const Model& a, const Model& b, const Selection& selection, const Tolerance& tolerance,
             const DifferenceSink& sink)
      : a_(&a),
        b_(&b),
        selection_(&selection),
        sink_(&sink),
        steps_(a, b),
        ofA_{.model = &a},
        ofB_{.model = &b},
        comparison_(a.GetTree(), b.GetTree(), tolerance) {
    std::tie(ofA_.chosen, ofB_.chosen) = Choose(a, b, selection);
  }

  void Run(std::size_t threads) {
    const bool isAll =
        selection_->parts.empty() && selection_->results.empty() && selection_->steps.empty();
    if (isAll) {
      CompareFacts();
    }
    FindParts();
    CompareSteps();
    CompareResults();
    FindTasks();
    RunTasks(threads);
  }

 private:
  using PartPair = std::pair<std::size_t, std::size_t>;

  void Tell(const ModelDifference& difference) { sink_->differs(difference); }

  // --- What a model is made of

  void CompareTexts(Kind kind, const std::string& a, const std::string& b) {
    if (a != b) {
      Tell({.kind = kind, .a = a, .b = b});
    }
  }

  void CompareFacts() {
    const auto& rootA = RootAttributesOf(a_->GetTree());
    const auto& rootB = RootAttributesOf(b_->GetTree());
    CompareTexts(Kind::Title, a_->Title().value_or(""), b_->Title().value_or(""));
    CompareTexts(Kind::Category, a_->Category(), b_->Category());
    for (const auto& [kind, name] : {std::pair(Kind::NodeCount, RootAttribute::kNodeCount),
                                     {Kind::ElementCount, RootAttribute::kElementCount}}) {
      CompareTexts(kind, TextOfNumber(rootA, name), TextOfNumber(rootB, name));
    }
  }

  /// Which parts belong together, and their fields.
  void FindParts() {
    parts_ = PairParts(*a_, ofA_.chosen, *b_, ofB_.chosen);
    const auto partsOf = [this](const Chosen& chosen, auto side) {
      std::set<std::size_t> all(chosen.parts.begin(), chosen.parts.end());
      for (const PartPair& pair : parts_.both) {
        all.insert(pair.*side);
      }
      return std::vector<std::size_t>(all.begin(), all.end());
    };
    ofA_.Find(partsOf(ofA_.chosen, &PartPair::first));
    ofB_.Find(partsOf(ofB_.chosen, &PartPair::second));
  }

  /// Of all parts and results also those steps that neither fields nor meshes have.
  [[nodiscard]] std::vector<bool> StepsOf(const Compared& compared) const {
    return selection_->parts.empty() && selection_->results.empty()
               ? compared.chosen.steps
               : compared.Steps(selection_->results.empty());
  }

  void CompareSteps() {
    const std::vector<bool> ofA = StepsOf(ofA_);
    const std::vector<bool> ofB = StepsOf(ofB_);
    for (std::size_t step = CommonSteps::kNone + 1; step < steps_.Count(); ++step) {
      const auto inA = steps_.InA(step);
      const auto inB = steps_.InB(step);
      const bool isInA = inA && ofA[*inA];
      const bool isInB = inB && ofB[*inB];
      if (isInA != isInB) {
        Tell({.kind = Kind::Step,
              .side = isInA ? Side::OnlyInA : Side::OnlyInB,
              .step = steps_.TextOf(step)});
      }
    }
  }

  void CompareResults() {
    const ResultsByName ofA = ofA_.Results();
    const ResultsByName ofB = ofB_.Results();
    const auto tellMissing = [this](const auto& results, const auto& others, Side side) {
      for (const auto& [name, result] : results) {
        if (!others.contains(name)) {
          Tell({.kind = Kind::Result, .side = side, .result = result.name});
        }
      }
    };
    tellMissing(ofA, ofB, Side::OnlyInA);
    tellMissing(ofB, ofA, Side::OnlyInB);
    const auto describe = [](const Result& result) {
      return (result.components ? std::to_string(*result.components) : "mixed") + ' ' +
             std::string(TextOf(result.location));
    };
    for (const auto& [name, result] : ofA) {
      const auto other = ofB.find(name);
      if (other != ofB.end() && describe(result) != describe(other->second)) {
        Tell({.kind = Kind::Result,
              .result = result.name,
              .a = describe(result),
              .b = describe(other->second)});
      }
    }
  }

  // --- What is compared number by number

  /// Part by part meshes and fields of both models; tells what is only in one.
  void FindTasks() {
    for (const std::size_t part : parts_.onlyInA) {
      Tell({.kind = Kind::Part, .side = Side::OnlyInA, .part = a_->Parts()[part].name});
    }
    for (const std::size_t part : parts_.onlyInB) {
      Tell({.kind = Kind::Part, .side = Side::OnlyInB, .part = b_->Parts()[part].name});
    }
    RepeatedRows meshesOfA(*a_);
    RepeatedRows meshesOfB(*b_);
    for (const PartPair& pair : parts_.both) {
      if (selection_->results.empty()) {
        FindMeshes(pair, meshesOfA, meshesOfB);
      }
      FindFields(pair, ofA_.FieldsOf(pair.first), ofB_.FieldsOf(pair.second));
    }
  }

  /// All steps at which a part has a mesh of its own in either model.
  void FindMeshes(const PartPair& parts, RepeatedRows& rowsOfA, RepeatedRows& rowsOfB) {
    std::set<std::size_t> steps;
    for (const auto& step : a_->StepsWith(a_->Parts()[parts.first], kMeshRoles)) {
      if (ofA_.chosen.HasStep(step)) {
        rowsOfA.Add(parts.first, step ? a_->Steps()[*step].text : "");
        steps.insert(steps_.OfA(step));
      }
    }
    for (const auto& step : b_->StepsWith(b_->Parts()[parts.second], kMeshRoles)) {
      if (ofB_.chosen.HasStep(step)) {
        rowsOfB.Add(parts.second, step ? b_->Steps()[*step].text : "");
        steps.insert(steps_.OfB(step));
      }
    }
    for (const std::size_t step : steps) {
      tasks_.push_back({.parts = parts, .step = step});
    }
  }

  void FindFields(const PartPair& parts, std::span<const FieldOfPart> ofA,
                  std::span<const FieldOfPart> ofB) {
    const Pairs<FieldOfPart> fields = PairFields(ofA, ofB, steps_);
    const auto tellMissing = [&](const Field& field, std::size_t step, Side side) {
      ModelDifference difference = About(Kind::Field, {.parts = parts, .step = step}, &field);
      difference.side = side;
      Tell(difference);
    };
    for (const FieldOfPart& each : fields.onlyInA) {
      tellMissing(*each.field, steps_.OfA(each.field->step), Side::OnlyInA);
    }
    for (const FieldOfPart& each : fields.onlyInB) {
      tellMissing(*each.field, steps_.OfB(each.field->step), Side::OnlyInB);
    }
    for (const auto& [a, b] : fields.both) {
      const Task task{parts, steps_.OfA(a.field->step), a.field, b.field};
      if (a.field->components == b.field->components) {
        tasks_.push_back(task);
        continue;
      }
      ModelDifference difference = About(Kind::Field, task, a.field);
      difference.a = ComponentsText(a.field->components);
      difference.b = ComponentsText(b.field->components);
      Tell(difference);
    }
  }

  [[nodiscard]] ModelDifference About(Kind kind, const Task& task, const Field* field) const {
    ModelDifference difference{
        .kind = kind, .part = a_->Parts()[task.parts.first].name, .step = steps_.TextOf(task.step)};
    if (field != nullptr) {
      difference.result = std::string(field->result);
    }
    return difference;
  }

  [[nodiscard]] MeshVariables MeshOfA(const Task& task) const {
    return a_->MeshAt(a_->Parts()[task.parts.first], steps_.InA(task.step));
  }
  [[nodiscard]] MeshVariables MeshOfB(const Task& task) const {
    return b_->MeshAt(b_->Parts()[task.parts.second], steps_.InB(task.step));
  }

  // --- The comparison of numbers

  void RunTasks(std::size_t threads) {
    std::vector<WantedGroup> wantedOfA;
    std::vector<WantedGroup> wantedOfB;
    for (const Task& task : tasks_) {
      const auto wanted = [](const MeshVariables& mesh, const Field* field) {
        return field == nullptr ? WantedOf(mesh)
                                : WantedGroup{{.variable = field->variable, .mayStayStored = true},
                                              WantedIds(mesh.IdsOf(field->location))};
      };
      wantedOfA.push_back(wanted(MeshOfA(task), task.fieldA));
      wantedOfB.push_back(wanted(MeshOfB(task), task.fieldB));
    }
    InOrder<Outcome> outcomes([this](std::size_t /*place*/, const Outcome& outcome) {
      std::ranges::for_each(outcome.differences, sink_->differs);
      if (outcome.failure) {
        sink_->failed(*outcome.failure);
      }
    });
    const Helpers helpers{.threads = threads, .most = 1};
    LoadInFileOrder({&a_->GetTree(), wantedOfA, helpers}, {&b_->GetTree(), wantedOfB, helpers},
                    [&](std::size_t place, const LoadedGroup& ofA, const LoadedGroup& ofB) {
                      outcomes.Add(place, RunTask(tasks_[place], ofA, ofB));
                    });
  }

  [[nodiscard]] Outcome RunTask(const Task& task, const LoadedGroup& ofA, const LoadedGroup& ofB) {
    Outcome outcome;
    for (const auto& [isInA, loaded] : {std::pair(true, &ofA), std::pair(false, &ofB)}) {
      std::exception_ptr failure = FailureOf(*loaded);
      if (failure == nullptr && task.fieldA == nullptr) {
        const MeshVariables mesh = isInA ? MeshOfA(task) : MeshOfB(task);
        failure = FailureOfLoad((isInA ? a_ : b_)->GetTree(), [&, isInA = isInA, numbers = loaded] {
          comparison_.CheckFacesOf({&mesh, numbers}, isInA);
        });
      }
      if (failure != nullptr) {
        outcome.failure = Failed(task, isInA, failure);
        return outcome;
      }
    }
    const std::exception_ptr failure = FailureOfLoad(a_->GetTree(), [&] {
      outcome.differences =
          task.fieldA == nullptr ? CompareMeshes(task, ofA, ofB) : CompareFields(task, ofA, ofB);
    });
    if (failure != nullptr) {
      outcome.failure = Failed(task, comparison_.WasInA(), failure);
    }
    return outcome;
  }

  [[nodiscard]] FailedComparison Failed(const Task& task, bool isInA,
                                        const std::exception_ptr& failure) const {
    return {isInA, a_->Parts()[task.parts.first].name,
            task.fieldA == nullptr ? "mesh" : std::string(task.fieldA->result),
            steps_.TextOf(task.step), failure};
  }

  [[nodiscard]] std::vector<ModelDifference> CompareMeshes(const Task& task, const LoadedGroup& ofA,
                                                           const LoadedGroup& ofB) {
    const MeshVariables meshOfA = MeshOfA(task);
    const MeshVariables meshOfB = MeshOfB(task);
    return comparison_.OfMeshes({&meshOfA, &ofA}, {&meshOfB, &ofB},
                                About(Kind::Mesh, task, nullptr));
  }

  [[nodiscard]] std::vector<ModelDifference> CompareFields(const Task& task, const LoadedGroup& ofA,
                                                           const LoadedGroup& ofB) {
    const NumbersDifference found = comparison_.OfFields({task.fieldA, &ofA}, {task.fieldB, &ofB});
    if (found.IsSame()) {
      return {};
    }
    ModelDifference difference = About(Kind::Field, task, task.fieldA);
    difference.numbers = found;
    difference.id = found.beyond == 0 ? std::nullopt : IdAt(ofA[1].Tuples(1), found.index);
    return {std::move(difference)};
  }

  const Model* a_;
  const Model* b_;
  const Selection* selection_;
  const DifferenceSink* sink_;
  CommonSteps steps_;
  Compared ofA_;
  Compared ofB_;
  Pairs<std::size_t> parts_;
  std::vector<Task> tasks_;
  GroupComparison comparison_;
};

}  // namespace

std::string_view TextOf(ModelDifference::Kind kind) {
  static constexpr std::string_view kTexts[]{"title", "category", "nodes", "elements", "part",
                                             "step",  "result",   "mesh",  "field"};
  return kTexts[static_cast<std::size_t>(kind)];
}

void CompareModels(const Model& a, const Model& b, const Selection& selection,
                   const Tolerance& tolerance, const DifferenceSink& sink, std::size_t threads) {
  Comparison(a, b, selection, tolerance, sink).Run(threads);
}

}  // namespace LbtTev::Analysis
