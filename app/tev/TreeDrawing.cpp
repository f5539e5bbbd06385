// The tree of a model as text.

#include "tev/TreeDrawing.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Util/ToString.h"
#include "tev/NodeVisit.h"
#include "tev/VisibleText.h"

namespace {

using Lbt::Util::ToString;
using LbtTev::Geometry;
using LbtTev::Report::OutlineItem;
using LbtTev::Report::TreeOutline;

constexpr std::size_t kDeepestIndent = 40;

/// "1 node", "2 nodes"
std::string Counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

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
  ItemDrawing(const OutlineItem& item, const TreeOptions& options, std::string& text)
      : options_(&options),
        text_(&text),
        indent_(2 + 2 * std::min(item.depth, kDeepestIndent), ' ') {
    StartLine(item);
    if (item.entry->data == nullptr) {
      text += " (no node)\n";
      return;
    }
    const LbtTev::Node& node = *item.entry->data;
    text += KindOf(node) + ' ' + QuotedText(node.name);
    text += " version " + VisibleText(node.recordVersion) + '\n';
    VisitNode(node, *this);
  }

  void operator()(const LbtTev::Group& group) const { AddAttributes(group.attributes, 1); }

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
      AddLine(1, "node set " + QuotedText(set.name) + ": " + Counted(set.members.size(), "member"));
    }
    AddAttributes(nodeSets.attributes, 1);
  }

  void operator()(const LbtTev::FutureNode& node) const { AddAttributes(node.attributes, 1); }

 private:
  void StartLine(const OutlineItem& item) const {
    *text_ += indent_;
    if (item.depth > kDeepestIndent) {
      *text_ += "(depth " + std::to_string(item.depth) + ") ";
    }
    *text_ += std::to_string(item.entry->id);
  }

  static std::string KindOf(const LbtTev::Node& node) {
    if (const auto* future = dynamic_cast<const LbtTev::FutureNode*>(&node)) {
      return " FutureNode (" + VisibleText(future->storedType) + ")";
    }
    return ' ' + node.GetType();
  }

  void AddLine(std::size_t level, const std::string& line) const {
    *text_ += indent_ + std::string(2 * level, ' ') + "- " + line + '\n';
  }

  void AddVariable(std::size_t index, const Geometry::VarStruct& variable) const {
    std::string line = "variable " + std::to_string(index) + ' ' + QuotedText(variable.name) +
                       ": type " + std::to_string(static_cast<unsigned>(variable.variableType)) +
                       ", " + Counted(variable.array.GetWidth(), "component") + ", " +
                       Counted(variable.array.GetNumElements(), "element") + ", " +
                       Counted(variable.array.byteSize, "byte");
    if (variable.isLinked) {
      line += ", linked to variable " + std::to_string(variable.linkVariableIndex) + " of node " +
              std::to_string(variable.linkNodeId);
    }
    AddLine(1, line);
    AddAttributes(variable.attributes, 2);
  }

  void AddAttributes(const LbtUtil::AttributeMap& attributes, std::size_t level) const {
    if (!options_->attributes) {
      return;
    }
    for (const auto& [name, value] : attributes) {
      AddLine(level,
              "attribute " + QuotedText(name) + " = " + VisibleText(value.GetAttributeString()));
    }
  }

  const TreeOptions* options_;
  std::string* text_;
  std::string indent_;
};

void Draw(const std::vector<OutlineItem>& items, const TreeOptions& options, std::string& text) {
  for (const OutlineItem& item : items) {
    if (item.depth <= options.depth) {
      ItemDrawing(item, options, text);
    }
  }
}

}  // namespace

std::string TreeDrawingText(const TreeOutline& outline, const TreeOptions& options) {
  std::string text;
  Draw(outline.reached, options, text);
  if (!outline.unreached.empty()) {
    text += "  Nodes that no parent reaches:\n";
    Draw(outline.unreached, options, text);
  }
  return text;
}
