// The tree of a model in JSON.

#include "tev/TreeJson.h"

#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>

#include "tev/Json.h"
#include "tev/NodeVisit.h"

namespace {

using LbtTev::Geometry;
using LbtTev::Report::OutlineItem;
using LbtTev::Report::TreeOutline;

/// The first "count" numbers.
template <std::size_t kSize>
Json FirstOf(const std::array<float, kSize>& numbers, std::size_t count) {
  Json list = Json::array();
  for (std::size_t i = 0; i < count; ++i) {
    list.push_back(JsonOf(numbers[i]));
  }
  return list;
}

Json MaterialOf(const LbtTev::Material& material) {
  return {{"diffuse", FirstOf(material.diffuse, 4)},
          {"specular", FirstOf(material.specular, 4)},
          {"emissive", FirstOf(material.emissive, 3)},
          {"ambient", FirstOf(material.ambient, 3)},
          {"shininess", JsonOf(material.shininess)},
          {"factor", JsonOf(material.materialFactor)},
          {"flag", material.materialFlag}};
}

Json LinkOf(const Geometry::VarStruct& variable) {
  if (!variable.isLinked) {
    return nullptr;
  }
  return {{"node", variable.linkNodeId}, {"variable", variable.linkVariableIndex}};
}

/// Adds to the object of a node what nodes of its kind have.
class KindMembers {
 public:
  KindMembers(const TreeOptions& options, Json& object) : options_(&options), object_(&object) {}

  void operator()(const LbtTev::Group& group) const { AddAttributes(*object_, group.attributes); }

  void operator()(const LbtTev::Shape& shape) const {
    (*object_)["material"] = MaterialOf(shape.material);
  }

  void operator()(const Geometry& geometry) const {
    Json& variables = (*object_)["variables"] = Json::array();
    for (const Geometry::VarStruct& variable : geometry.variables) {
      variables.push_back(ObjectOf(variable));
    }
  }

  void operator()(const LbtTev::NodeSets& nodeSets) const {
    Json& sets = (*object_)["nodeSets"] = Json::array();
    for (const LbtTev::NodeSets::NodeSet& set : nodeSets.sets) {
      sets.push_back({{"name", set.name}, {"members", set.members.size()}});
    }
    AddAttributes(*object_, nodeSets.attributes);
  }

  void operator()(const LbtTev::FutureNode& node) const {
    (*object_)["storedType"] = node.storedType;
    AddAttributes(*object_, node.attributes);
  }

 private:
  [[nodiscard]] Json ObjectOf(const Geometry::VarStruct& variable) const {
    Json json{{"name", variable.name},
              {"type", static_cast<unsigned int>(variable.variableType)},
              {"components", variable.array.GetWidth()},
              {"elements", variable.array.GetNumElements()},
              {"bytes", variable.array.byteSize},
              {"link", LinkOf(variable)}};
    AddAttributes(json, variable.attributes);
    return json;
  }

  void AddAttributes(Json& object, const LbtUtil::AttributeMap& attributes) const {
    if (options_->attributes) {
      object["attributes"] = JsonOf(attributes);
    }
  }

  const TreeOptions* options_;
  Json* object_;
};

Json ObjectOf(const OutlineItem& item, bool isReached, const TreeOptions& options) {
  const LbtTev::Node* node = item.entry->data;
  Json json{{"id", item.entry->id}, {"parent", item.entry->parent},
            {"depth", item.depth},  {"reached", isReached},
            {"kind", nullptr},      {"name", nullptr},
            {"version", nullptr}};
  if (node != nullptr) {
    json["kind"] = node->GetType();
    json["name"] = node->name;
    json["version"] = node->recordVersion;
    VisitNode(*node, KindMembers(options, json));
  }
  return json;
}

void Append(JsonWriter& json, const std::vector<OutlineItem>& items, bool areReached,
            const TreeOptions& options) {
  for (const OutlineItem& item : items) {
    if (item.depth <= options.depth) {
      json.Value(ObjectOf(item, areReached, options));
    }
  }
}

}  // namespace

void WriteTree(const TreeOutline& outline, const TreeOptions& options, JsonWriter& json) {
  json.Key("nodes");
  json.OpenList();
  Append(json, outline.reached, true, options);
  Append(json, outline.unreached, false, options);
  json.Close();
}
