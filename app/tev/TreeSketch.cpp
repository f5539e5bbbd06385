// The tree of a model as text, a line for each node.

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/ModelFacts.h"
#include "tev/TreeDrawing.h"
#include "tev/VisibleText.h"

namespace {

/// The lines that connect the items of a tree in a drawing. Items come in the order in which they
/// are drawn, each before those below it.
class TreeLines {
 public:
  /// "depths" has the depth of each item; an item is below the last one before it that is less
  /// deep.
  explicit TreeLines(const std::vector<std::size_t>& depths);

  /// What stands before the text of the next item: "│  └─ ". Deeper than 40 levels, lines stand
  /// for the last of these, and the depth is told.
  [[nodiscard]] std::string Next();

  /// What stands before a further line of the item that Next() was called for last.
  [[nodiscard]] std::string Further() const;

 private:
  struct Item {
    std::size_t depth;
    bool isLast;  ///< of its siblings
    bool hasChildren;
  };

  std::vector<Item> items_;
  std::size_t next_ = 0;
  std::vector<bool> isOpen_;  ///< whether siblings of the ancestor at that depth follow
};

constexpr std::size_t kDeepest = 40;

constexpr const char* kThrough = "\u2502  ";
constexpr const char* kGap = "   ";
constexpr const char* kBranch = "\u251c\u2500 ";
constexpr const char* kLastBranch = "\u2514\u2500 ";

TreeLines::TreeLines(const std::vector<std::size_t>& depths) : items_(depths.size()) {
  std::vector<bool> hasLater;  // by depth: of what follows below the same parent
  for (std::size_t i = depths.size(); i-- > 0;) {
    const std::size_t depth = depths[i];
    hasLater.resize(std::max(hasLater.size(), depth + 1));
    items_[i] = {depth, !hasLater[depth], i + 1 < depths.size() && depths[i + 1] > depth};
    hasLater.resize(depth + 1);
    hasLater[depth] = true;
  }
}

std::string TreeLines::Next() {
  const Item& item = items_[next_++];
  isOpen_.resize(item.depth + 1);
  isOpen_[item.depth] = !item.isLast;
  std::string text;
  for (std::size_t depth = 1; depth < std::min(item.depth, kDeepest); ++depth) {
    text += isOpen_[depth] ? kThrough : kGap;
  }
  if (item.depth > 0) {
    text += item.isLast ? kLastBranch : kBranch;
  }
  return item.depth > kDeepest ? text + "(depth " + std::to_string(item.depth) + ") " : text;
}

std::string TreeLines::Further() const {
  const Item& item = items_[next_ - 1];
  std::string text;
  for (std::size_t depth = 1; depth <= std::min(item.depth, kDeepest); ++depth) {
    text += isOpen_[depth] ? kThrough : kGap;
  }
  return text + (item.hasChildren ? kThrough : kGap);
}

namespace Analysis = LbtTev::Analysis;
using Analysis::Model;
using Analysis::Part;
using LbtTev::Geometry;
using LbtTev::Report::OutlineItem;

/// "3498 nodes, 6779 elements of 4 nodes"
std::string MeshText(const Part& part, bool isLost) {
  if (isLost) {
    return "- nodes, - elements";
  }
  std::string text = Counted(part.nodes, "node") + ", " + Counted(part.elements, "element");
  return part.nodesPerElement ? text + " of " + MeanNodesText(*part.nodesPerElement) : text;
}

/// The results of a part as they are stored: "Temperature, Heat Flux: 20 steps; Volume".
std::string ResultsText(const Model& model, const Part& part) {
  std::vector<std::string_view> order;
  std::map<std::string_view, std::set<std::size_t>> steps;
  for (const Analysis::Field& field : model.FieldsOf(part)) {
    const auto [found, isNew] = steps.try_emplace(field.result);
    if (isNew) {
      order.push_back(field.result);
    }
    if (field.step) {
      found->second.insert(*field.step);
    }
  }
  std::string text;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::size_t count = steps[order[i]].size();
    const bool isLastOfCount = i + 1 == order.size() || steps[order[i + 1]].size() != count;
    text += NameText(order[i]);
    if (isLastOfCount) {
      text += (count == 0 ? "" : ": " + Counted(count, "step"));
      text += i + 1 == order.size() ? "" : "; ";
    } else {
      text += ", ";
    }
  }
  return text;
}

/// What the geometry of a part shares with others, by the node that it is linked to.
struct Sharing {
  bool coordinates = false;
  std::size_t others = 0;

  [[nodiscard]] std::string Text() const {
    if (!coordinates) {
      return Counted(others, "variable");
    }
    return others == 0 ? "coordinates" : "coordinates and " + Counted(others, "more variable");
  }
};

class Sketch {
 public:
  Sketch(const Model& model, const LostData& lost, std::optional<std::size_t> limit,
         std::ostream& stream)
      : model_(&model), lost_(&lost), limit_(limit), stream_(&stream) {
    for (const Part& part : model.Parts()) {
      if (part.geometry != nullptr) {
        partOfGeometry_.try_emplace(part.geometry, &part);
      }
    }
  }

  void Draw(const std::vector<OutlineItem>& all, std::size_t deepest) {
    std::vector<OutlineItem> items;
    std::vector<std::size_t> depths;
    for (const OutlineItem& item : all) {
      if (item.depth <= deepest && !IsFolded(*item.entry)) {
        items.push_back(item);
        depths.push_back(item.depth);
      }
    }
    TreeLines lines(depths);
    for (const OutlineItem& item : items) {
      WriteLine(lines.Next(), TextOf(item));
      if (const std::string sharing = SharingText(item.entry->id); !sharing.empty()) {
        WriteLine(lines.Further(), sharing);
      }
    }
  }

 private:
  using Entry = LbtAdt::TreeNode<LbtTev::Node*>;

  /// The geometry of a part is told with it.
  [[nodiscard]] bool IsFolded(const Entry& entry) const {
    const auto* geometry = dynamic_cast<const Geometry*>(entry.data);
    return geometry != nullptr && partOfGeometry_.contains(geometry);
  }

  [[nodiscard]] const Part* FindPart(unsigned int id) const {
    const auto& parts = model_->Parts();
    const auto found =
        std::lower_bound(parts.begin(), parts.end(), id,
                         [](const Part& part, unsigned int value) { return part.id < value; });
    return found != parts.end() && found->id == id ? &*found : nullptr;
  }

  [[nodiscard]] std::string TextOf(const OutlineItem& item) const {
    if (item.entry->data == nullptr) {
      return "(no node)";
    }
    const LbtTev::Node& node = *item.entry->data;
    std::string name = NameText(node.name);
    if (const Part* part = FindPart(item.entry->id)) {
      const std::string results = ResultsText(*model_, *part);
      return name + "  " + MeshText(*part, IsLost(*model_, *part, *lost_)) +
             (results.empty() ? "" : "; " + results);
    }
    if (const auto* sets = dynamic_cast<const LbtTev::NodeSets*>(&node)) {
      return name + "  " + SetsText(*sets);
    }
    if (const auto* future = dynamic_cast<const LbtTev::FutureNode*>(&node)) {
      return name + "  (" + VisibleText(future->storedType) + ")";
    }
    return name;
  }

  static std::string SetsText(const LbtTev::NodeSets& nodeSets) {
    constexpr std::size_t kMost = 10;
    const auto& sets = nodeSets.sets;
    std::string text = Counted(sets.size(), "node set");
    for (std::size_t i = 0; i < std::min(kMost, sets.size()); ++i) {
      text += (i == 0 ? ": " : ", ") + NameText(sets[i].name) + " " +
              std::to_string(sets[i].members.size());
    }
    return sets.size() > kMost ? text + ", ..." : text;
  }

  /// "shares coordinates and 40 more variables with FINS"
  [[nodiscard]] std::string SharingText(unsigned int id) const {
    const Part* part = FindPart(id);
    if (part == nullptr || part->geometry == nullptr) {
      return "";
    }
    std::map<unsigned int, Sharing> byTarget;
    for (const Geometry::VarStruct& variable : part->geometry->variables) {
      if (variable.isLinked) {
        Sharing& sharing = byTarget[variable.linkNodeId];
        const bool isFirstCoordinates =
            variable.variableType == Geometry::VariableType::Coordinates && !sharing.coordinates;
        sharing.coordinates = sharing.coordinates || isFirstCoordinates;
        sharing.others += isFirstCoordinates ? 0 : 1;
      }
    }
    std::string text;
    for (const auto& [target, sharing] : byTarget) {
      text += (text.empty() ? "shares " : ", ") + sharing.Text() + " with " + NameOfTarget(target);
    }
    return text;
  }

  [[nodiscard]] std::string NameOfTarget(unsigned int id) const {
    const auto* entry = model_->GetTree().FindNode(id);
    const auto* geometry = entry == nullptr ? nullptr : dynamic_cast<const Geometry*>(entry->data);
    const auto part = partOfGeometry_.find(geometry);
    return part == partOfGeometry_.end() ? "node " + std::to_string(id)
                                         : NameText(part->second->name);
  }

  void WriteLine(const std::string& lines, const std::string& text) {
    const std::string line = "  " + lines + text;
    *stream_ << (limit_ ? FirstColumns(line, *limit_) : line) << '\n';
  }

  const Model* model_;
  const LostData* lost_;
  std::optional<std::size_t> limit_;
  std::ostream* stream_;
  std::map<const Geometry*, const Part*> partOfGeometry_;
};

}  // namespace

void DrawCompact(const LbtTev::Tree& tree, const LbtTev::Report::TreeOutline& outline,
                 const TreeOptions& options, const LostData& lost, std::optional<std::size_t> limit,
                 std::ostream& stream) {
  const Model model(tree);
  Sketch sketch(model, lost, limit, stream);
  sketch.Draw(outline.reached, options.depth);
  if (!outline.unreached.empty()) {
    stream << "  Nodes that no parent reaches:\n";
    sketch.Draw(outline.unreached, options.depth);
  }
}
