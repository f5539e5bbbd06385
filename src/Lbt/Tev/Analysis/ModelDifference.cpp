// Compares two models.

#include "Lbt/Tev/Analysis/ModelDifference.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "GroupDifference.h"
#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Pairing.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/RootFacts.h"

namespace LbtTev::Analysis {

namespace {

using Kind = ModelDifference::Kind;
using Side = ModelDifference::Side;

std::string TextOfNumber(const LbtUtil::AttributeMap& attributes, const char* name) {
  const auto found = attributes.find(name);
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

class Comparison {
 public:
  Comparison(const Model& a, const Model& b, const Selection& selection, const Tolerance& tolerance,
             const DifferenceSink& sink)
      : a_(&a),
        b_(&b),
        selection_(&selection),
        sink_(&sink),
        steps_(a, b),
        comparison_(a.GetTree(), b.GetTree(), tolerance) {
    std::tie(chosenA_, chosenB_) = Choose(a, b, selection);
  }

  void Run(std::size_t threads) {
    const bool isAll =
        selection_->parts.empty() && selection_->results.empty() && selection_->steps.empty();
    if (isAll) {
      CompareFacts();
    }
    CompareSteps();
    CompareResults();
    FindTasks();
    RunTasks(threads);
  }

 private:
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
    for (const auto& [kind, name] : {std::pair(Kind::NodeCount, "Number of Nodes in the Model"),
                                     {Kind::ElementCount, "Number of Elements in the Model"}}) {
      CompareTexts(kind, TextOfNumber(rootA, name), TextOfNumber(rootB, name));
    }
  }

  void CompareSteps() {
    for (std::size_t step = CommonSteps::kNone + 1; step < steps_.Count(); ++step) {
      const auto inA = steps_.InA(step);
      const auto inB = steps_.InB(step);
      const bool isInA = inA && chosenA_.steps[*inA];
      const bool isInB = inB && chosenB_.steps[*inB];
      if (isInA != isInB) {
        Tell({.kind = Kind::Step,
              .side = isInA ? Side::OnlyInA : Side::OnlyInB,
              .step = steps_.TextOf(step)});
      }
    }
  }

  void CompareResults() {
    const auto tellMissing = [this](const auto& names, const auto& others, Side side) {
      for (const std::string_view name : names) {
        if (!others.contains(name)) {
          Tell({.kind = Kind::Result, .side = side, .result = std::string(name)});
        }
      }
    };
    tellMissing(chosenA_.results, chosenB_.results, Side::OnlyInA);
    tellMissing(chosenB_.results, chosenA_.results, Side::OnlyInB);
    const auto describe = [](const Result& result) {
      return (result.components ? std::to_string(*result.components) : "mixed") + ' ' +
             std::string(TextOf(result.location));
    };
    for (const Result& result : a_->Results()) {
      const auto other = std::ranges::lower_bound(b_->Results(), result.name, {}, &Result::name);
      const bool isInBoth =
          chosenA_.results.contains(result.name) && chosenB_.results.contains(result.name);
      if (isInBoth && describe(result) != describe(*other)) {
        Tell({.kind = Kind::Result,
              .result = result.name,
              .a = describe(result),
              .b = describe(*other)});
      }
    }
  }

  // --- What is compared number by number

  /// Part by part meshes and fields of both models; tells what is only in one.
  void FindTasks() {
    using Pair = std::pair<std::size_t, std::size_t>;
    const auto partsOf = [](const Chosen& chosen, const auto& pairs, auto side) {
      std::set<std::size_t> all(chosen.parts.begin(), chosen.parts.end());
      for (const auto& pair : pairs) {
        all.insert(pair.*side);
      }
      return std::vector<std::size_t>(all.begin(), all.end());
    };
    const auto fieldsOf = [](const Model& model, const Chosen& chosen,
                             const std::vector<std::size_t>& ofModel) {
      return FieldsOfParts(model, ofModel,
                           [&chosen](const Field& field) { return chosen.Has(field); });
    };
    const Pairs<std::size_t> parts = PairParts(*a_, chosenA_, *b_, chosenB_);
    const std::vector<FieldOfPart> fieldsOfA =
        fieldsOf(*a_, chosenA_, partsOf(chosenA_, parts.both, &Pair::first));
    const std::vector<FieldOfPart> fieldsOfB =
        fieldsOf(*b_, chosenB_, partsOf(chosenB_, parts.both, &Pair::second));
    for (const std::size_t part : parts.onlyInA) {
      Tell({.kind = Kind::Part, .side = Side::OnlyInA, .part = a_->Parts()[part].name});
    }
    for (const std::size_t part : parts.onlyInB) {
      Tell({.kind = Kind::Part, .side = Side::OnlyInB, .part = b_->Parts()[part].name});
    }
    RepeatedRows meshesOfA(*a_);
    RepeatedRows meshesOfB(*b_);
    const auto ofPart = [](const std::vector<FieldOfPart>& fields, std::size_t part) {
      const auto first = std::ranges::lower_bound(fields, part, {}, &FieldOfPart::part);
      const auto last = std::ranges::upper_bound(fields, part, {}, &FieldOfPart::part);
      return std::span(first, last);
    };
    for (const auto& pair : parts.both) {
      if (selection_->results.empty()) {
        FindMeshes(pair, meshesOfA, meshesOfB);
      }
      FindFields(pair, ofPart(fieldsOfA, pair.first), ofPart(fieldsOfB, pair.second));
    }
  }

  /// All steps at which a part has a mesh of its own in either model.
  void FindMeshes(const std::pair<std::size_t, std::size_t>& parts, RepeatedRows& rowsOfA,
                  RepeatedRows& rowsOfB) {
    std::set<std::size_t> steps;
    for (const auto& step : a_->StepsWith(a_->Parts()[parts.first], kMeshRoles)) {
      if (chosenA_.HasStep(step)) {
        rowsOfA.Add(parts.first, step ? a_->Steps()[*step].text : "");
        steps.insert(steps_.OfA(step));
      }
    }
    for (const auto& step : b_->StepsWith(b_->Parts()[parts.second], kMeshRoles)) {
      if (chosenB_.HasStep(step)) {
        rowsOfB.Add(parts.second, step ? b_->Steps()[*step].text : "");
        steps.insert(steps_.OfB(step));
      }
    }
    for (const std::size_t step : steps) {
      tasks_.push_back({.parts = parts, .step = step});
    }
  }

  void FindFields(const std::pair<std::size_t, std::size_t>& parts,
                  std::span<const FieldOfPart> ofA, std::span<const FieldOfPart> ofB) {
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
      difference.a = std::to_string(a.field->components) + " components";
      difference.b = std::to_string(b.field->components) + " components";
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
                                              {mesh.IdsOf(field->location), false,
                                               WantedArray::Turn::BeforeFirst}};
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
    difference.id = found.beyond == 0 ? std::nullopt : IdAt(ofA[1].Floats(), found.index);
    return {std::move(difference)};
  }

  const Model* a_;
  const Model* b_;
  const Selection* selection_;
  const DifferenceSink* sink_;
  CommonSteps steps_;
  Chosen chosenA_;
  Chosen chosenB_;
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
