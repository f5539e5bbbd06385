// The tree of a model in JSON.

#include <span>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/Json.h"
#include "tev/TreeDrawing.h"

namespace {

using LbtTev::Geometry;
using LbtTev::Analysis::ShownName;
using LbtTev::Report::OutlineItem;

/// Writes node by node. Only single values become Json, so that no more than one is in memory.
class NodeWriter {
 public:
  NodeWriter(const Storage* storage, const LostData& lost, JsonWriter& json)
      : storage_(storage), lost_(&lost), json_(&json) {}

  void Write(const OutlineItem& item, bool isReached) {
    const LbtTev::Node* node = item.entry->data;
    json_->OpenObject();
    json_->Member("id", item.entry->id);
    json_->Member("parent", item.entry->parent);
    json_->Member("depth", item.depth);
    json_->Member("reached", isReached);
    json_->Member("kind", node == nullptr ? Json(nullptr) : Json(node->GetType()));
    json_->Member("name", node == nullptr ? Json(nullptr) : Json(ShownName(node->name)));
    json_->Member("version", node == nullptr ? Json(nullptr) : Json(node->recordVersion));
    isLost_ = lost_->HasLightOf(item.entry->id);
    if (node != nullptr) {
      VisitNode(*node, *this);
    }
    json_->Close();
  }

  void operator()(const LbtTev::Group& group) const {
    json_->Key("transform");
    json_->OpenObject();
    WriteNumbers("translation", group.translation);
    WriteNumbers("rotation", group.rotation);
    WriteNumbers("scale", group.scale);
    json_->Close();
    WriteAttributes("attributes", group.attributes);
  }

  void operator()(const LbtTev::Shape& shape) const {
    const LbtTev::Material& material = shape.material;
    json_->Key("material");
    json_->OpenObject();
    WriteNumbers("diffuse", material.diffuse);
    WriteNumbers("specular", material.specular);
    WriteNumbers("emissive", std::span(material.emissive).first(3));
    WriteNumbers("ambient", std::span(material.ambient).first(3));
    json_->Member("shininess", material.shininess);
    json_->Member("factor", material.materialFactor);
    json_->Member("flag", material.materialFlag);
    json_->Close();
  }

  void operator()(const Geometry& geometry) const {
    json_->Key("variables");
    if (isLost_ && geometry.variables.empty()) {
      json_->Value(nullptr);
      return;
    }
    json_->OpenList();
    for (const Geometry::VarStruct& variable : geometry.variables) {
      WriteVariable(variable);
    }
    json_->Close();
  }

  void operator()(const LbtTev::NodeSets& nodeSets) const {
    json_->Key("nodeSets");
    json_->OpenList();
    for (const LbtTev::NodeSets::NodeSet& set : nodeSets.sets) {
      json_->OpenObject();
      json_->Member("name", ShownName(set.name));
      json_->Member("members", set.members.size());
      json_->Close();
    }
    json_->Close();
    WriteAttributes("attributes", nodeSets.attributes);
  }

  void operator()(const LbtTev::FutureNode& node) const {
    json_->Member("storedType", node.storedType);
    WriteAttributes("attributes", node.attributes);
  }

 private:
  void WriteNumbers(const char* name, std::span<const float> numbers) const {
    json_->Key(name);
    json_->OpenList();
    for (const float number : numbers) {
      json_->Value(number);
    }
    json_->Close();
  }

  void WriteAttributes(const char* name, const LbtUtil::AttributeMap& attributes) const {
    json_->Key(name);
    json_->Value(JsonOf(attributes));
  }

  void WriteVariable(const Geometry::VarStruct& variable) const {
    json_->OpenObject();
    json_->Member("name", ShownName(variable.name));
    json_->Member("type", static_cast<unsigned int>(variable.variableType));
    json_->Member("components", variable.array.GetWidth());
    json_->Member("values", variable.array.GetNumElements());
    json_->Member("bytes", variable.array.byteSize);
    WriteLink(variable);
    WriteAttributes("attributes", variable.attributes);
    WriteAttributes("storedAttributes", variable.storageAttributes);
    WriteStorage(variable);
    json_->Close();
  }

  void WriteLink(const Geometry::VarStruct& variable) const {
    json_->Key("link");
    if (!variable.isLinked) {
      json_->Value(nullptr);
      return;
    }
    json_->OpenObject();
    json_->Member("node", variable.linkNodeId);
    json_->Member("variable", variable.linkVariableIndex);
    json_->Close();
  }

  void WriteStorage(const Geometry::VarStruct& variable) const {
    if (storage_ == nullptr) {
      return;
    }
    json_->Key("storage");
    const auto place = storage_->PlaceOf(variable);
    if (!place) {
      json_->Value(nullptr);
      return;
    }
    json_->OpenObject();
    json_->Member("block", place->block);
    json_->Member("offset", place->offset);
    json_->Member("bytes", variable.array.byteSize);
    json_->Close();
  }

  const Storage* storage_;
  const LostData* lost_;
  JsonWriter* json_;
  bool isLost_ = false;  // light data of the node at hand
};

}  // namespace

void WriteTree(const LbtTev::Report::TreeOutline& outline, const TreeOptions& options,
               const Storage* storage, const LostData& lost, JsonWriter& json) {
  NodeWriter writer(storage, lost, json);
  json.Key("nodes");
  json.OpenList();
  for (const bool isReached : {true, false}) {
    for (const OutlineItem& item : isReached ? outline.reached : outline.unreached) {
      if (item.depth <= options.depth) {
        writer.Write(item, isReached);
      }
    }
  }
  json.Close();
}
