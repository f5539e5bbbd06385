#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "ComparedModel.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/ModelDifference.h"
#include "Lbt/Tev/Analysis/Pairing.h"
#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

/// A mesh or a field that both models have.
struct ComparisonTask {
  std::pair<std::size_t, std::size_t> parts;
  std::size_t step = CommonSteps::kNone;
  // Of a field; null for a mesh.
  const Field* fieldA = nullptr;
  const Field* fieldB = nullptr;
};

/// Compares what two models consist of, and finds what of both has numbers to compare.
class OutlineDifference {
 public:
  /// "lost" as for CompareModels; all must outlive this.
  OutlineDifference(const Model& a, const Model& b, const Selection& selection,
                    const std::pair<LostData, LostData>& lost,
                    std::function<void(const ModelDifference&)> tell);

  /// Tells what differs apart from numbers; returns meshes and fields that both have, part by part.
  [[nodiscard]] std::vector<ComparisonTask> Run();

  [[nodiscard]] const CommonSteps& Steps() const { return steps_; }

  /// A difference of that kind in what a task is about; "field" is null for a mesh.
  [[nodiscard]] ModelDifference About(ModelDifference::Kind kind, const ComparisonTask& task,
                                      const Field* field) const;

 private:
  using PartPair = std::pair<std::size_t, std::size_t>;

  void FindParts();
  void CompareTitles();
  void CompareCounts();
  [[nodiscard]] std::vector<bool> StepsOf(const ComparedModel& compared) const;
  void CompareSteps();
  void CompareResults();
  void TellPart(std::size_t part, ModelDifference::Side side);
  void FindTasks();
  void FindMeshes(const PartPair& parts, RepeatedRows& rowsOfA, RepeatedRows& rowsOfB);
  void AddMesh(const ComparisonTask& task);
  void FindFields(const PartPair& parts);
  void AddField(const ComparisonTask& task);

  const Model* a_;
  const Model* b_;
  const Selection* selection_;
  std::function<void(const ModelDifference&)> tell_;
  CommonSteps steps_;
  std::pair<Chosen, Chosen> chosen_;
  ComparedModel ofA_;
  ComparedModel ofB_;
  bool areAttributesKnown_;
  Pairs<std::size_t> parts_;
  std::set<std::string_view> relocated_;  // results of which it was told
  std::vector<ComparisonTask> tasks_;
};

}  // namespace LbtTev::Analysis
