// The tree of a model as text, in full.

#include "tev/TreeDrawing.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/NumberText.h"
#include "tev/VisibleText.h"

namespace {

using Lbt::Util::ToString;
using LbtTev::Geometry;
using LbtTev::Analysis::ShownName;
using LbtTev::Report::OutlineItem;
using LbtTev::Report::TreeOutline;

constexpr std::size_t kDeepestIndent = 40;

std::string NumbersText(std::span<const float> numbers) {
  std::string text;
  for (const float number : numbers) {
    text += (text.empty() ? "" : " ") + ToString(number);
  }
  return text;
}

/// Draws one item.
class ItemDrawing {
 public:
  ItemDrawing(const OutlineItem& item, const Storage* storage, std::ostream& stream)
      : storage_(storage),
        stream_(&stream),
        indent_(2 + 2 * std::min(item.depth, kDeepestIndent), ' ') {
    StartLine(item);
    if (item.entry->data == nullptr) {
      stream << " (no node)\n";
      return;
    }
    const LbtTev::Node& node = *item.entry->data;
    stream << KindOf(node) << ' ' << QuotedText(ShownName(node.name)) << " version "
           << VisibleText(node.recordVersion) << '\n';
    VisitNode(node, *this);
  }

  void operator()(const LbtTev::Group& group) const {
    AddLine(1, "transform: translation " + NumbersText(group.translation) + ", rotation " +
                   NumbersText(group.rotation) + ", scale " + NumbersText(group.scale));
    AddAttributes(group.attributes, "attribute", 1);
  }

  void operator()(const LbtTev::Shape& shape) const {
    const LbtTev::Material& material = shape.material;
    const std::span emissive(material.emissive);
    const std::span ambient(material.ambient);
    AddLine(1, "material: diffuse " + NumbersText(material.diffuse) + ", specular " +
                   NumbersText(material.specular) + ", emissive " + NumbersText(emissive.first(3)) +
                   ", ambient " + NumbersText(ambient.first(3)) + ", shininess " +
                   ToString(material.shininess) + ", factor " + ToString(material.materialFactor) +
                   ", flag " + (material.materialFlag ? "true" : "false"));
  }

  void operator()(const Geometry& geometry) const {
    for (std::size_t i = 0; i < geometry.variables.size(); ++i) {
      AddVariable(i, geometry.variables[i]);
    }
  }

  void operator()(const LbtTev::NodeSets& nodeSets) const {
    for (const LbtTev::NodeSets::NodeSet& set : nodeSets.sets) {
      AddLine(1, "node set " + QuotedText(ShownName(set.name)) + ": " +
                     Counted(set.members.size(), "member"));
    }
    AddAttributes(nodeSets.attributes, "attribute", 1);
  }

  void operator()(const LbtTev::FutureNode& node) const {
    AddAttributes(node.attributes, "attribute", 1);
  }

 private:
  void StartLine(const OutlineItem& item) const {
    *stream_ << indent_;
    if (item.depth > kDeepestIndent) {
      *stream_ << "(depth " << item.depth << ") ";
    }
    *stream_ << item.entry->id;
  }

  static std::string KindOf(const LbtTev::Node& node) {
    if (const auto* future = dynamic_cast<const LbtTev::FutureNode*>(&node)) {
      return " FutureNode (" + VisibleText(future->storedType) + ")";
    }
    return ' ' + node.GetType();
  }

  void AddLine(std::size_t level, const std::string& line) const {
    *stream_ << indent_ << std::string(2 * level, ' ') << "- " << line << '\n';
  }

  void AddVariable(std::size_t index, const Geometry::VarStruct& variable) const {
    std::string line = "variable " + std::to_string(index) + ' ' +
                       QuotedText(ShownName(variable.name)) + ": type " +
                       std::to_string(static_cast<unsigned>(variable.variableType)) + ", " +
                       Counted(variable.array.GetWidth(), "component") + ", " +
                       Counted(variable.array.GetNumElements(), "value") + ", " +
                       Counted(variable.array.byteSize, "byte");
    if (variable.isLinked) {
      line += ", linked to variable " + std::to_string(variable.linkVariableIndex) + " of node " +
              std::to_string(variable.linkNodeId);
    }
    AddLine(1, line);
    const auto place = storage_ == nullptr ? std::nullopt : storage_->PlaceOf(variable);
    if (place) {
      AddLine(2, "stored in block " + std::to_string(place->block) + " from byte " +
                     std::to_string(place->offset) + " on, " +
                     Counted(variable.array.byteSize, "byte"));
    }
    AddAttributes(variable.attributes, "attribute", 2);
    AddAttributes(variable.storageAttributes, "stored attribute", 2);
  }

  void AddAttributes(const LbtUtil::AttributeMap& attributes, const std::string& what,
                     std::size_t level) const {
    for (const auto& [name, value] : attributes) {
      AddLine(level, what + ' ' + QuotedText(ShownName(name)) + " = " +
                         VisibleText(value.GetAttributeString()));
    }
  }

  const Storage* storage_;
  std::ostream* stream_;
  std::string indent_;
};

void Draw(const std::vector<OutlineItem>& items, const TreeOptions& options, const Storage* storage,
          std::ostream& stream) {
  for (const OutlineItem& item : items) {
    if (item.depth <= options.depth) {
      ItemDrawing(item, storage, stream);
    }
  }
}

}  // namespace

Storage::Storage(LbtLbf::LbFile& file) {
  const LbtTev::StreamNames names;
  const auto& items = file.GetIndex().GetItems();
  for (std::size_t block = 0; block < items.size(); ++block) {
    if (items[block].name == names.heavy) {
      starts_.push_back({end_, block});
      end_ += LbtLbf::DescribeBlock(file, block).inflatedSize.value_or(0);
    }
  }
}

std::optional<StoragePlace> Storage::PlaceOf(const Geometry::VarStruct& variable) const {
  if (variable.isLinked || variable.array.loader == nullptr) {
    return std::nullopt;
  }
  const std::uint64_t position = variable.array.OwnPosition();
  const auto after = std::upper_bound(
      starts_.begin(), starts_.end(), position,
      [](std::uint64_t value, const Start& start) { return value < start.position; });
  if (after == starts_.begin() || position >= end_) {
    return std::nullopt;
  }
  const Start& start = *(after - 1);
  return StoragePlace{start.block, position - start.position};
}

void DrawInFull(const TreeOutline& outline, const TreeOptions& options, const Storage* storage,
                std::ostream& stream) {
  Draw(outline.reached, options, storage, stream);
  if (!outline.unreached.empty()) {
    stream << "  Nodes that no parent reaches:\n";
    Draw(outline.unreached, options, storage, stream);
  }
}
