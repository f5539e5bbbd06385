// What models tell of themselves for several verbs: the attributes of the root, parts and steps.

#include "tev/ModelFacts.h"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/Vocabulary.h"
#include "tev/Json.h"
#include "tev/VisibleText.h"

namespace {

using LbtUtil::AttributeMap;
namespace RootAttribute = LbtTev::RootAttribute;

/// Takes a number of any kind out of the map; what is none is left there.
std::optional<double> TakeNumber(AttributeMap& attributes, std::string_view name) {
  const auto found = attributes.find(std::string(name));
  const auto number =
      found == attributes.end() ? std::nullopt : LbtTev::Analysis::NumberOf(found->second);
  if (number) {
    attributes.erase(found);
  }
  return number;
}

/// Takes what tells of a native file out of the map.
LbtTev::NativeFile TakeFile(AttributeMap& attributes, std::string_view pathName,
                            std::string_view sizeName,
                            std::string (*formatOf)(const std::string&)) {
  LbtTev::NativeFile file = LbtTev::NativeFileOf(attributes, pathName, sizeName, formatOf);
  if (!file.path) {
    return {};  // a size of nothing stays among the attributes
  }
  attributes.erase(std::string(pathName));
  attributes.erase(std::string(sizeName));
  return file;
}

}  // namespace

std::optional<std::uint64_t> BytesOfSize(const std::string& size) {
  struct Unit {
    std::string_view name;
    double bytes;
  };
  constexpr std::array<Unit, 4> kUnits{
      {{" B", 1}, {" KB", 1024}, {" MB", 1048576}, {" GB", 1073741824}}};
  double number = 0;
  const char* end = size.data() + size.size();
  const auto read = std::from_chars(size.data(), end, number);
  const std::string_view rest(read.ptr, static_cast<std::size_t>(end - read.ptr));
  for (const Unit& unit : kUnits) {
    constexpr double kMost = 1e18;
    const double bytes = std::round(number * unit.bytes);
    if (read.ec == std::errc() && rest == unit.name && bytes >= 0 && bytes <= kMost) {
      return static_cast<std::uint64_t>(bytes);
    }
  }
  return std::nullopt;
}

RootFacts RootFactsOf(const LbtTev::Tree& tree) {
  RootFacts facts;
  facts.others = LbtTev::RootAttributesOf(tree);
  facts.units = LbtTev::Analysis::UnitsOf(tree);
  if (facts.units.length) {
    facts.others.erase(std::string(LbtTev::Analysis::kLengthUnit));
  }
  if (facts.units.scale) {
    facts.others.erase(std::string(LbtTev::Analysis::kUnitScale));
  }
  facts.nodes = TakeNumber(facts.others, RootAttribute::kNodeCount);
  facts.elements = TakeNumber(facts.others, RootAttribute::kElementCount);
  facts.modelFile = TakeFile(facts.others, RootAttribute::kModelFile, RootAttribute::kModelFileSize,
                             GetModelFileFormat);
  facts.resultsFile = TakeFile(facts.others, RootAttribute::kResultsFile,
                               RootAttribute::kResultsFileSize, GetResultsFileFormat);
  return facts;
}

using LbtTev::Analysis::ElementCounts;
using LbtTev::Analysis::Field;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::Part;
using LbtTev::Analysis::Step;

namespace {

template <class T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

void WriteCounts(const ElementCounts* counts, JsonWriter& json) {
  json.Key("elementsByNodes");
  if (counts == nullptr) {
    json.Value(nullptr);
    return;
  }
  json.OpenList();
  for (const auto& [nodes, elements] : counts->byNodes) {
    json.OpenObject();
    json.Member("nodes", nodes);
    json.Member("elements", elements);
    json.Close();
  }
  json.Close();
}

void WritePart(const Model& model, std::size_t index, bool isLost, const PartCounts* counts,
               JsonWriter& json) {
  const Part& part = model.Parts()[index];
  json.OpenObject();
  json.Member("id", part.id);
  json.Member("name", part.name);
  json.Member("path", model.PathOf(part));
  json.Member("kind", TextOf(part.kind));
  json.Member("nodes", isLost ? Json(nullptr) : Json(part.nodes));
  json.Member("elements", isLost ? Json(nullptr) : Json(part.elements));
  json.Member("nodesPerElement", isLost ? Json(nullptr) : OrNull(part.nodesPerElement));
  if (counts != nullptr) {
    WriteCounts(isLost ? nullptr : (*counts)[index].get(), json);
  }
  json.Member("sharesWith", isLost ? Json(nullptr) : OrNull(part.sharesWith));
  json.Close();
}

}  // namespace

std::string NameText(std::string_view name) {
  return name.empty() ? "\"\"" : VisibleText(LbtTev::Analysis::ShownName(name));
}

std::optional<std::string> CategoryOf(const Model& model, const LostData& lost) {
  const bool isAnyLost = lost.hasAttributes || lost.hasRecords;
  const bool isUnknown = isAnyLost && model.Category() == "Unknown";
  return isUnknown ? std::nullopt : std::optional(model.Category());
}

void WriteParts(const Model& model, const LostData& lost, JsonWriter& json,
                const PartCounts* counts) {
  model.RequireModestPaths();
  json.Key("parts");
  json.OpenList();
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    WritePart(model, i, IsLost(model, model.Parts()[i], lost), counts, json);
  }
  json.Close();
}

void WriteSteps(const Model& model, JsonWriter& json) {
  json.Key("steps");
  json.OpenList();
  for (const Step& step : model.Steps()) {
    json.OpenObject();
    json.Member("text", step.text);
    json.Member("label", step.label);
    json.Member("value", OrNull(step.value));
    json.Member("subtitle", step.subtitle.empty() ? Json(nullptr) : Json(step.subtitle));
    json.Close();
  }
  json.Close();
}

Json StepJson(const Model& model, const Field& field) {
  return field.step ? Json(model.Steps()[*field.step].text) : Json(nullptr);
}
