// Compares two models.
#include "Lbt/Tev/Analysis/ModelDifference.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Vocabulary.h"
#include "MeshDifference.h"
#include "Pairing.h"

namespace LbtTev::Analysis {

namespace {

using Kind = ModelDifference::Kind;
using Side = ModelDifference::Side;

std::string TextOfNumber(const LbtUtil::AttributeMap& attributes, const char* name) {
  const auto found = attributes.find(name);
  return found == attributes.end() ? "" : found->second.GetAttributeString();
}

/// Loads whole arrays of a model, and keeps the last one: ids are those of many fields, and parts
/// share values.
class KeptArray {
 public:
  [[nodiscard]] std::span<const float> Of(const Geometry::VarStruct* variable, BlocksAhead& ahead) {
    if (variable == nullptr) {
      return {};
    }
    const ArrayKey key(variable->array);
    if (!key_ || *key_ != key) {
      key_.reset();
      numbers_ = LoadArray<float>(variable->array, ahead);
      key_ = key;
    }
    return numbers_;
  }

 private:
  std::optional<ArrayKey> key_;
  std::vector<float> numbers_;
};

/// A pair of fields to compare.
struct FieldPair {
  FieldOfPart a;
  FieldOfPart b;
};

class Comparison {
 public:
  Comparison(const Model& a, const Model& b, const Selection& selection, const Tolerance& tolerance,
             const DifferenceSink& sink, std::pair<Loading, Loading> loading)
      : a_(&a),
        b_(&b),
        selection_(&selection),
        tolerance_(tolerance),
        sink_(&sink),
        loading_(std::move(loading)) {
    std::tie(chosenA_, chosenB_) = Choose(a, b, selection);
  }

  void Run() {
    const bool isAll =
        selection_->parts.empty() && selection_->results.empty() && selection_->steps.empty();
    if (isAll) {
      CompareFacts();
    }
    CompareSteps();
    CompareResults();
    CompareParts();
    if (selection_->results.empty()) {
      for (const auto& [partA, partB] : parts_) {
        CompareMeshes(partA, partB);
      }
    }
    CompareFields();
  }

 private:
  void Tell(const ModelDifference& difference) { sink_->differs(difference); }

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

  /// Tells of what is only in one of two sets of names.
  template <class Names, class Describe>
  void TellMissing(const Names& a, const Names& b, const Describe& describe) {
    for (const auto& name : a) {
      if (!b.contains(name)) {
        Tell(describe(name, Side::OnlyInA));
      }
    }
    for (const auto& name : b) {
      if (!a.contains(name)) {
        Tell(describe(name, Side::OnlyInB));
      }
    }
  }

  void CompareSteps() {
    const auto textsOf = [](const Model& model, const Chosen& chosen) {
      std::set<std::string> texts;
      for (std::size_t i = 0; i < model.Steps().size(); ++i) {
        if (chosen.steps[i]) {
          texts.insert(model.Steps()[i].text);
        }
      }
      return texts;
    };
    TellMissing(textsOf(*a_, chosenA_), textsOf(*b_, chosenB_),
                [](const std::string& text, Side side) {
                  return ModelDifference{.kind = Kind::Step, .side = side, .step = text};
                });
  }

  void CompareResults() {
    TellMissing(chosenA_.results, chosenB_.results, [](std::string_view name, Side side) {
      return ModelDifference{.kind = Kind::Result, .side = side, .result = std::string(name)};
    });
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

  void CompareParts() {
    const auto partsOfA = KeysOf(*a_, chosenA_);
    const auto partsOfB = KeysOf(*b_, chosenB_);
    for (const auto& [key, part] : partsOfA) {
      if (const auto other = partsOfB.find(key); other != partsOfB.end()) {
        parts_.emplace(part, other->second);
      } else {
        Tell({.kind = Kind::Part, .side = Side::OnlyInA, .part = std::get<1>(key)});
      }
    }
    for (const auto& [key, part] : partsOfB) {
      if (!partsOfA.contains(key)) {
        Tell({.kind = Kind::Part, .side = Side::OnlyInB, .part = std::get<1>(key)});
      }
    }
  }

  // --- Meshes

  /// All steps at which a part has a mesh of its own in either model.
  void CompareMeshes(std::size_t partA, std::size_t partB) {
    std::set<StepText> steps;
    for (const auto& [model, part, chosen] :
         {std::tuple(a_, partA, &chosenA_), std::tuple(b_, partB, &chosenB_)}) {
      for (const auto& step : model->StepsWith(model->Parts()[part], kMeshRoles)) {
        if (chosen->HasStep(step)) {
          steps.insert(TextOfStep(*model, step));
        }
      }
    }
    for (const StepText& step : steps) {
      CompareMesh(partA, partB, step);
    }
  }

  [[nodiscard]] static MeshVariables MeshOf(const Model& model, std::size_t part,
                                            const StepText& step) {
    return model.MeshAt(model.Parts()[part], step ? model.FindStep(*step) : std::nullopt);
  }

  /// Runs one comparison. Damage of "model" is told with what it is about, and is no difference.
  template <class Load>
  bool Try(bool isInA, std::size_t partA, const std::string& result, const StepText& step,
           const Load& load) {
    const Tree& tree = (isInA ? a_ : b_)->GetTree();
    const std::exception_ptr failure = FailureOfLoad(tree, load);
    if (failure != nullptr) {
      sink_->failed({isInA, a_->Parts()[partA].name, result, step, failure});
    }
    return failure == nullptr;
  }

  void CompareMesh(std::size_t partA, std::size_t partB, const StepText& step) {
    MeshNumbers a;
    MeshNumbers b;
    const bool isRead =
        Try(true, partA, "mesh", step, [&] { a = LoadMesh(MeshOf(*a_, partA, step)); }) &&
        Try(false, partA, "mesh", step, [&] { b = LoadMesh(MeshOf(*b_, partB, step)); });
    if (isRead) {
      const ModelDifference about{
          .kind = Kind::Mesh, .part = a_->Parts()[partA].name, .step = step};
      Analysis::CompareMeshes(a, b, tolerance_, about, sink_->differs);
    }
  }

  // --- Fields

  [[nodiscard]] static ModelDifference FieldDifference(const Model& model,
                                                       const FieldOfPart& field) {
    return {.kind = Kind::Field,
            .part = model.Parts()[field.part].name,
            .result = std::string(field.field->result),
            .step = TextOfStep(model, field.field->step)};
  }

  void CompareFields() {
    std::vector<FieldPair> pairs;
    for (const auto& [partA, partB] : parts_) {
      PairFields(partA, partB, pairs);
    }
    std::vector<WantedNumbers> wanted;
    for (const FieldPair& pair : pairs) {
      wanted.push_back(WantedFor(*a_, pair.a));
      wanted.back().faces = nullptr;
      wanted.back().lengths = nullptr;
    }
    BlocksAhead aheadInB(loading_.second, StreamNames().heavy, PositionsInB(pairs));
    LoadInFileOrder(
        a_->GetTree(), wanted,
        [&](const LoadedNumbers& numbers) {
          CompareField(pairs[numbers.place], numbers, aheadInB);
        },
        loading_.first);
  }

  /// In the order of B, which mostly is that of A.
  [[nodiscard]] std::vector<unsigned long> PositionsInB(const std::vector<FieldPair>& pairs) const {
    std::vector<unsigned long> positions;
    for (const FieldPair& pair : pairs) {
      for (const auto* variable : {pair.b.field->variable, WantedFor(*b_, pair.b).ids}) {
        if (variable != nullptr && variable->array.loader != nullptr) {
          positions.push_back(variable->array.loader->GetPosition());
        }
      }
    }
    std::ranges::sort(positions);
    return positions;
  }

  void PairFields(std::size_t partA, std::size_t partB, std::vector<FieldPair>& pairs) {
    const auto ofA = KeysOf(*a_, a_->Parts()[partA], chosenA_);
    const auto ofB = KeysOf(*b_, b_->Parts()[partB], chosenB_);
    for (const auto& [key, field] : ofB) {
      if (!ofA.contains(key)) {
        ModelDifference difference = FieldDifference(*b_, {partB, field});
        difference.side = Side::OnlyInB;
        Tell(difference);
      }
    }
    for (const auto& [key, field] : ofA) {
      if (const auto other = ofB.find(key); other != ofB.end()) {
        Pair({{partA, field}, {partB, other->second}}, pairs);
      } else {
        ModelDifference difference = FieldDifference(*a_, {partA, field});
        difference.side = Side::OnlyInA;
        Tell(difference);
      }
    }
  }

  void Pair(const FieldPair& pair, std::vector<FieldPair>& pairs) {
    const Field& a = *pair.a.field;
    const Field& b = *pair.b.field;
    if (a.components == b.components) {
      pairs.push_back(pair);
      return;
    }
    ModelDifference difference = FieldDifference(*a_, pair.a);
    difference.a = std::to_string(a.components) + " components";
    difference.b = std::to_string(b.components) + " components";
    Tell(difference);
  }

  void CompareField(const FieldPair& pair, const LoadedNumbers& numbers, BlocksAhead& ahead) {
    const Field& a = *pair.a.field;
    const Field& b = *pair.b.field;
    const StepText step = TextOfStep(*a_, a.step);
    const bool isReadA = Try(true, pair.a.part, std::string(a.result), step, [&] {
      if (numbers.failure != nullptr) {
        std::rethrow_exception(numbers.failure);
      }
    });
    std::span<const float> values;
    std::span<const float> idsOfB;
    const bool isReadB = isReadA && Try(false, pair.a.part, std::string(a.result), step, [&] {
                           idsOfB = idsOfB_.Of(WantedFor(*b_, pair.b).ids, ahead);
                           values = valuesOfB_.Of(b.variable, ahead);
                         });
    if (!isReadB) {
      return;
    }
    const std::span<const float> ids =
        numbers.ids == nullptr ? std::span<const float>() : *numbers.ids;
    const TupleMatch match = a.location == b.location ? TupleMatch(ids, a.count, idsOfB, b.count)
                                                      : TupleMatch(a.count, b.count);
    const auto found = Compare(*numbers.values, values, a.components, match, tolerance_);
    if (!found.IsSame()) {
      ModelDifference difference = FieldDifference(*a_, pair.a);
      difference.numbers = found;
      difference.id = found.beyond == 0 ? std::nullopt : IdAt(ids, found.index);
      Tell(difference);
    }
  }

  const Model* a_;
  const Model* b_;
  const Selection* selection_;
  Tolerance tolerance_;
  const DifferenceSink* sink_;
  std::pair<Loading, Loading> loading_;
  Chosen chosenA_;
  Chosen chosenB_;
  std::map<std::size_t, std::size_t> parts_;  // of A to those of B
  KeptArray valuesOfB_;
  KeptArray idsOfB_;
};

}  // namespace

std::string_view TextOf(ModelDifference::Kind kind) {
  static constexpr std::string_view kTexts[]{"title", "category", "nodes", "elements", "part",
                                             "step",  "result",   "mesh",  "field"};
  return kTexts[static_cast<std::size_t>(kind)];
}

void CompareModels(const Model& a, const Model& b, const Selection& selection,
                   const Tolerance& tolerance, const DifferenceSink& sink, const Loading& loadingA,
                   const Loading& loadingB) {
  Comparison(a, b, selection, tolerance, sink, {loadingA, loadingB}).Run();
}

}  // namespace LbtTev::Analysis
