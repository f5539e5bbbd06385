// Compares what two models consist of, apart from numbers.

#include "OutlineDifference.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <tuple>

#include "GroupDifference.h"
#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Analysis {

namespace {

using Kind = ModelDifference::Kind;
using Side = ModelDifference::Side;

/// All digits of a number; whole numbers without an exponent.
std::string DigitsOf(double number) {
  constexpr double kMostWithoutExponent = 1e15;
  const bool isWhole = std::trunc(number) == number && std::fabs(number) < kMostWithoutExponent;
  std::array<char, 32> text{};
  char* const end = text.data() + text.size();
  const auto written = isWhole ? std::to_chars(text.data(), end, number, std::chars_format::fixed)
                               : std::to_chars(text.data(), end, number);
  return {text.data(), written.ptr};
}

/// A count of the root, as it is stored and as text; empty without one.
struct StoredCount {
  std::optional<double> number{};
  std::string text{};

  StoredCount(const Model& model, std::string_view name) {
    const auto& attributes = RootAttributesOf(model.GetTree());
    if (const auto found = attributes.find(std::string(name)); found != attributes.end()) {
      number = NumberOf(found->second);
      text = number ? DigitsOf(*number) : found->second.GetAttributeString();
    }
  }
};

bool IsSame(const StoredCount& a, const StoredCount& b) {
  return a.number && b.number
             ? *a.number == *b.number || (std::isnan(*a.number) && std::isnan(*b.number))
             : a.text == b.text;
}

std::string DescriptionOf(const Result& result) {
  return (result.components ? std::to_string(*result.components) : "mixed") + ' ' +
         std::string(TextOf(result.location));
}

}  // namespace

OutlineDifference::OutlineDifference(const Model& a, const Model& b, const Selection& selection,
                                     const std::pair<LostData, LostData>& lost,
                                     std::function<void(const ModelDifference&)> tell)
    : a_(&a),
      b_(&b),
      selection_(&selection),
      tell_(std::move(tell)),
      steps_(a, b),
      chosen_(Choose(a, b, selection)),
      ofA_(a, lost.first, chosen_.first),
      ofB_(b, lost.second, chosen_.second),
      areAttributesKnown_(!lost.first.hasAttributes && !lost.second.hasAttributes) {}

std::vector<ComparisonTask> OutlineDifference::Run() {
  FindParts();
  if (selection_->parts.empty() && selection_->results.empty() && selection_->steps.empty()) {
    CompareTitles();
    CompareCounts();
  }
  CompareSteps();
  CompareResults();
  FindTasks();
  return std::move(tasks_);
}

// --- What a model is made of

/// Which parts belong together, and their fields.
void OutlineDifference::FindParts() {
  parts_ = PairParts(*a_, ofA_.GetChosen(), *b_, ofB_.GetChosen());
  const auto partsOf = [this](const Chosen& chosen, auto side) {
    std::set<std::size_t> all(chosen.parts.begin(), chosen.parts.end());
    for (const PartPair& pair : parts_.both) {
      all.insert(pair.*side);
    }
    return std::vector<std::size_t>(all.begin(), all.end());
  };
  ofA_.Find(partsOf(ofA_.GetChosen(), &PartPair::first));
  ofB_.Find(partsOf(ofB_.GetChosen(), &PartPair::second));
}

/// They are worked out from all results.
void OutlineDifference::CompareTitles() {
  if (!areAttributesKnown_ || ofA_.IsAnyLost() || ofB_.IsAnyLost()) {
    return;
  }
  for (const auto& [kind, a, b] :
       {std::tuple(Kind::Title, a_->Title().value_or(""), b_->Title().value_or("")),
        {Kind::Category, a_->Category(), b_->Category()}}) {
    if (a != b) {
      tell_({.kind = kind, .a = a, .b = b});
    }
  }
}

void OutlineDifference::CompareCounts() {
  const bool isRootKnown =
      areAttributesKnown_ && !ofA_.Lost().hasRecords && !ofB_.Lost().hasRecords;
  for (const auto& [kind, name] : {std::pair(Kind::NodeCount, RootAttribute::kNodeCount),
                                   {Kind::ElementCount, RootAttribute::kElementCount}}) {
    const StoredCount a(*a_, name);
    const StoredCount b(*b_, name);
    if (!IsSame(a, b) && (isRootKnown || (!a.text.empty() && !b.text.empty()))) {
      tell_({.kind = kind, .a = a.text, .b = b.text});
    }
  }
}

/// Of all parts and results also those steps that neither fields nor meshes have.
std::vector<bool> OutlineDifference::StepsOf(const ComparedModel& compared) const {
  return selection_->parts.empty() && selection_->results.empty()
             ? compared.GetChosen().steps
             : compared.Steps(selection_->results.empty());
}

void OutlineDifference::CompareSteps() {
  const std::vector<bool> ofA = StepsOf(ofA_);
  const std::vector<bool> ofB = StepsOf(ofB_);
  for (std::size_t step = CommonSteps::kNone + 1; step < steps_.Count(); ++step) {
    const auto inA = steps_.InA(step);
    const auto inB = steps_.InB(step);
    const bool isInA = inA && ofA[*inA];
    const bool isInB = inB && ofB[*inB];
    if (isInA != isInB && !(isInA ? ofB_ : ofA_).IsAnyLost()) {
      tell_({.kind = Kind::Step,
             .side = isInA ? Side::OnlyInA : Side::OnlyInB,
             .step = steps_.TextOf(step)});
    }
  }
}

/// Where something is lost, fields tell what of a result differs: the result has more of them.
void OutlineDifference::CompareResults() {
  const ResultsByName ofA = ofA_.Results();
  const ResultsByName ofB = ofB_.Results();
  const auto tellMissing = [this](const auto& results, const auto& others, Side side) {
    for (const auto& [name, result] : results) {
      if (!others.contains(name)) {
        tell_({.kind = Kind::Result, .side = side, .result = result.name});
      }
    }
  };
  if (!ofB_.IsAnyLost()) {
    tellMissing(ofA, ofB, Side::OnlyInA);
  }
  if (!ofA_.IsAnyLost()) {
    tellMissing(ofB, ofA, Side::OnlyInB);
  }
  if (!areAttributesKnown_ || ofA_.IsAnyLost() || ofB_.IsAnyLost()) {
    return;
  }
  for (const auto& [name, result] : ofA) {
    const auto other = ofB.find(name);
    if (other == ofB.end() || DescriptionOf(result) == DescriptionOf(other->second)) {
      continue;
    }
    tell_({.kind = Kind::Result,
           .result = result.name,
           .a = DescriptionOf(result),
           .b = DescriptionOf(other->second)});
    if (result.location != other->second.location) {
      relocated_.insert(name);
    }
  }
}

// --- What is compared number by number

void OutlineDifference::TellPart(std::size_t part, Side side) {
  ModelDifference difference{.kind = Kind::Part, .side = side};
  (side == Side::OnlyInA ? difference.partInA : difference.partInB) = part;
  tell_(difference);
}

void OutlineDifference::FindTasks() {
  for (const std::size_t part : parts_.onlyInA) {
    if (!ofB_.Lost().hasRecords) {
      TellPart(part, Side::OnlyInA);
    }
  }
  for (const std::size_t part : parts_.onlyInB) {
    if (!ofA_.Lost().hasRecords) {
      TellPart(part, Side::OnlyInB);
    }
  }
  RepeatedRows meshesOfA(*a_);
  RepeatedRows meshesOfB(*b_);
  for (const PartPair& pair : parts_.both) {
    if (ofA_.IsPartLost(pair.first) || ofB_.IsPartLost(pair.second)) {
      continue;
    }
    if (selection_->results.empty()) {
      FindMeshes(pair, meshesOfA, meshesOfB);
    }
    FindFields(pair);
  }
}

/// All steps at which a part has a mesh of its own in either model.
void OutlineDifference::FindMeshes(const PartPair& parts, RepeatedRows& rowsOfA,
                                   RepeatedRows& rowsOfB) {
  std::set<std::size_t> steps;
  for (const auto& step : a_->StepsWith(a_->Parts()[parts.first], kMeshRoles)) {
    if (ofA_.GetChosen().HasStep(step)) {
      rowsOfA.Add(parts.first, step ? a_->Steps()[*step].text : "");
      steps.insert(steps_.OfA(step));
    }
  }
  for (const auto& step : b_->StepsWith(b_->Parts()[parts.second], kMeshRoles)) {
    if (ofB_.GetChosen().HasStep(step)) {
      rowsOfB.Add(parts.second, step ? b_->Steps()[*step].text : "");
      steps.insert(steps_.OfB(step));
    }
  }
  for (const std::size_t step : steps) {
    AddMesh({.parts = parts, .step = step});
  }
}

/// A step that a model lacks has no mesh there, not even the one without a step.
void OutlineDifference::AddMesh(const ComparisonTask& task) {
  const bool isInA = task.step == CommonSteps::kNone || steps_.InA(task.step);
  const bool isInB = task.step == CommonSteps::kNone || steps_.InB(task.step);
  if (isInA && isInB) {
    tasks_.push_back(task);
    return;
  }
  ModelDifference difference = About(Kind::Mesh, task, nullptr);
  difference.side = isInA ? Side::OnlyInA : Side::OnlyInB;
  tell_(difference);
}

void OutlineDifference::FindFields(const PartPair& parts) {
  const Pairs<FieldOfPart> fields =
      PairFields(ofA_.FieldsOf(parts.first), ofB_.FieldsOf(parts.second), steps_);
  const auto tellMissing = [&](const Field& field, std::size_t step, Side side) {
    ModelDifference difference = About(Kind::Field, {.parts = parts, .step = step}, &field);
    difference.side = side;
    tell_(difference);
  };
  for (const FieldOfPart& each : fields.onlyInA) {
    tellMissing(*each.field, steps_.OfA(each.field->step), Side::OnlyInA);
  }
  for (const FieldOfPart& each : fields.onlyInB) {
    tellMissing(*each.field, steps_.OfB(each.field->step), Side::OnlyInB);
  }
  for (const auto& [a, b] : fields.both) {
    AddField({parts, steps_.OfA(a.field->step), a.field, b.field});
  }
}

/// Without attributes it may be unknown to what tuples belong, and so how they match.
void OutlineDifference::AddField(const ComparisonTask& task) {
  const Field& a = *task.fieldA;
  const Field& b = *task.fieldB;
  const auto tell = [&](std::string textOfA, std::string textOfB) {
    ModelDifference difference = About(Kind::Field, task, &a);
    difference.a = std::move(textOfA);
    difference.b = std::move(textOfB);
    tell_(difference);
  };
  const bool isRelocated = a.location != b.location;
  if (isRelocated && areAttributesKnown_ && !relocated_.contains(a.result)) {
    tell(std::string(TextOf(a.location)), std::string(TextOf(b.location)));
  }
  if (a.components != b.components) {
    tell(ComponentsText(a.components), ComponentsText(b.components));
  } else if (!isRelocated || areAttributesKnown_) {
    tasks_.push_back(task);
  }
}

ModelDifference OutlineDifference::About(Kind kind, const ComparisonTask& task,
                                         const Field* field) const {
  ModelDifference difference{.kind = kind,
                             .partInA = task.parts.first,
                             .partInB = task.parts.second,
                             .step = steps_.TextOf(task.step)};
  if (field != nullptr) {
    difference.result = std::string(field->result);
  }
  return difference;
}

}  // namespace LbtTev::Analysis
