// Compares two models.

#include "Lbt/Tev/Analysis/ModelDifference.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "GroupDifference.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "OutlineDifference.h"

namespace LbtTev::Analysis {

namespace {

using Kind = ModelDifference::Kind;
using Task = ComparisonTask;

/// What came of a task.
struct Outcome {
  std::vector<ModelDifference> differences{};
  std::optional<FailedComparison> failure{};
};

/// Compares the numbers of all meshes and fields that both models have.
class Comparison {
 public:
  Comparison(const Model& a, const Model& b, const Tolerance& tolerance, const DifferenceSink& sink,
             OutlineDifference& outline)
      : a_(&a),
        b_(&b),
        sink_(&sink),
        outline_(&outline),
        tasks_(outline.Run()),
        comparison_(a.GetTree(), b.GetTree(), tolerance) {}

  void Run(bool isAhead) {
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
    const Helpers helpers{.threads = isAhead ? 1U : 0U, .most = 1};
    LoadInFileOrder({&a_->GetTree(), wantedOfA, helpers}, {&b_->GetTree(), wantedOfB, helpers},
                    [&](std::size_t place, const LoadedGroup& ofA, const LoadedGroup& ofB) {
                      outcomes.Add(place, RunTask(tasks_[place], ofA, ofB));
                    });
  }

 private:
  [[nodiscard]] MeshVariables MeshOfA(const Task& task) const {
    return a_->MeshAt(a_->Parts()[task.parts.first], outline_->Steps().InA(task.step));
  }
  [[nodiscard]] MeshVariables MeshOfB(const Task& task) const {
    return b_->MeshAt(b_->Parts()[task.parts.second], outline_->Steps().InB(task.step));
  }

  [[nodiscard]] ComparedMesh Compared(const Task& task, const MeshVariables& mesh,
                                      const LoadedGroup& numbers, bool isInA) const {
    const Part& part = isInA ? a_->Parts()[task.parts.first] : b_->Parts()[task.parts.second];
    const CommonSteps& steps = outline_->Steps();
    const auto step = isInA ? steps.InA(task.step) : steps.InB(task.step);
    return {&mesh, PointsOf(part, mesh, step), &numbers};
  }

  [[nodiscard]] Outcome RunTask(const Task& task, const LoadedGroup& ofA, const LoadedGroup& ofB) {
    Outcome outcome;
    for (const auto& [isInA, loaded] : {std::pair(true, &ofA), std::pair(false, &ofB)}) {
      std::exception_ptr failure = FailureOf(*loaded);
      if (failure == nullptr && task.fieldA == nullptr) {
        const MeshVariables mesh = isInA ? MeshOfA(task) : MeshOfB(task);
        failure = FailureOfLoad((isInA ? a_ : b_)->GetTree(), [&, isInA = isInA, numbers = loaded] {
          comparison_.CheckFacesOf(Compared(task, mesh, *numbers, isInA), isInA);
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
    return {isInA, isInA ? task.parts.first : task.parts.second,
            task.fieldA == nullptr ? "mesh" : std::string(task.fieldA->result),
            outline_->Steps().TextOf(task.step), failure};
  }

  [[nodiscard]] std::vector<ModelDifference> CompareMeshes(const Task& task, const LoadedGroup& ofA,
                                                           const LoadedGroup& ofB) {
    const MeshVariables meshOfA = MeshOfA(task);
    const MeshVariables meshOfB = MeshOfB(task);
    return comparison_.OfMeshes(Compared(task, meshOfA, ofA, true),
                                Compared(task, meshOfB, ofB, false),
                                outline_->About(Kind::Mesh, task, nullptr));
  }

  [[nodiscard]] std::vector<ModelDifference> CompareFields(const Task& task, const LoadedGroup& ofA,
                                                           const LoadedGroup& ofB) {
    const NumbersDifference found = comparison_.OfFields({task.fieldA, &ofA}, {task.fieldB, &ofB});
    if (found.IsSame()) {
      return {};
    }
    ModelDifference difference = outline_->About(Kind::Field, task, task.fieldA);
    difference.numbers = found;
    difference.id = found.beyond == 0 ? std::nullopt : IdAt(ofA[1].Tuples(1), found.index);
    return {std::move(difference)};
  }

  const Model* a_;
  const Model* b_;
  const DifferenceSink* sink_;
  OutlineDifference* outline_;
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
                   const Tolerance& tolerance, const DifferenceSink& sink, bool isAhead,
                   const std::pair<LostData, LostData>& lost) {
  OutlineDifference outline(a, b, selection, lost, sink.differs);
  Comparison(a, b, tolerance, sink, outline).Run(isAhead);
}

}  // namespace LbtTev::Analysis
