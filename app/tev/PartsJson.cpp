// Parts and steps of a model as JSON.

#include "tev/PartsJson.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "tev/Json.h"

using LbtTev::Analysis::Field;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::Part;
using LbtTev::Analysis::Step;

namespace {

template <class T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

void WritePart(const Model& model, const Part& part, JsonWriter& json) {
  json.OpenObject();
  json.Member("id", part.id);
  json.Member("name", part.name);
  json.Member("path", model.PathOf(part));
  json.Member("kind", TextOf(part.kind));
  json.Member("nodes", part.nodes);
  json.Member("elements", part.elements);
  json.Member("nodesPerElement", OrNull(part.nodesPerElement));
  json.Member("sharesWith", OrNull(part.sharesWith));
  json.Close();
}

}  // namespace

void WriteParts(const Model& model, JsonWriter& json) {
  json.Key("parts");
  json.OpenList();
  for (const Part& part : model.Parts()) {
    WritePart(model, part, json);
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
