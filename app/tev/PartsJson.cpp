// Parts and steps of a model as JSON.

#include "tev/PartsJson.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "tev/Json.h"

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

void WritePart(const Model& model, std::size_t index, const PartCounts* counts, JsonWriter& json) {
  const Part& part = model.Parts()[index];
  json.OpenObject();
  json.Member("id", part.id);
  json.Member("name", part.name);
  json.Member("path", model.PathOf(part));
  json.Member("kind", TextOf(part.kind));
  json.Member("nodes", part.nodes);
  json.Member("elements", part.elements);
  json.Member("nodesPerElement", OrNull(part.nodesPerElement));
  if (counts != nullptr) {
    WriteCounts((*counts)[index].get(), json);
  }
  json.Member("sharesWith", OrNull(part.sharesWith));
  json.Close();
}

}  // namespace

void WriteParts(const Model& model, JsonWriter& json, const PartCounts* counts) {
  model.RequireModestPaths();
  json.Key("parts");
  json.OpenList();
  const LbtTev::ModelStream::Request names(model.GetTree().GetStreams().tree);
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    WritePart(model, i, counts, json);
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
