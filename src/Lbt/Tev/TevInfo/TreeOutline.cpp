// Puts the entries of a tree in the order in which they are drawn.

#include "Lbt/Tev/TevInfo/TreeOutline.h"

#include <unordered_set>

namespace LbtTev::Report {

namespace {

using Entry = LbtAdt::TreeNode<Node*>;
using Entries = std::unordered_set<const Entry*>;

/// All entries that stand in some entry's list of children. A list is left where it
/// runs into one that was walked before: the rest is the same.
Entries ChildrenOf(const Tree& tree) {
  Entries children;
  for (const auto& [id, parent] : tree.GetNodes()) {
    const Entry* child = tree.FindNode(parent.firstChild);
    while (child != nullptr && children.insert(child).second) {
      child = tree.FindNode(child->nextSibling);
    }
  }
  return children;
}

/// Appends entries with what lies below them, each entry once.
class Walk {
 public:
  explicit Walk(const Tree& tree) : tree_(&tree) {}

  void Append(const Entry& top, std::vector<OutlineItem>& items) {
    Visit(&top, 0, items);
    while (!pending_.empty()) {
      const OutlineItem next = pending_.back();
      pending_.pop_back();
      if (!seen_.contains(next.entry)) {
        Push(next.entry->nextSibling, next.depth);
        Visit(next.entry, next.depth, items);
      }
    }
  }

 private:
  void Visit(const Entry* entry, std::size_t depth, std::vector<OutlineItem>& items) {
    if (seen_.insert(entry).second) {
      items.push_back({entry, depth});
      Push(entry->firstChild, depth + 1);
    }
  }

  void Push(unsigned int id, std::size_t depth) {
    if (const Entry* entry = tree_->FindNode(id); entry != nullptr) {
      pending_.push_back({entry, depth});
    }
  }

  const Tree* tree_;
  Entries seen_;
  std::vector<OutlineItem> pending_;  // a stack of its own: models may nest to any depth
};

}  // namespace

TreeOutline OutlineOf(const Tree& tree) {
  TreeOutline outline;
  Walk walk(tree);
  if (const Entry* root = tree.FindNode(Tree::kRootId); root != nullptr) {
    walk.Append(*root, outline.reached);
  }
  const Entries children = ChildrenOf(tree);
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (!children.contains(&entry)) {
      walk.Append(entry, outline.unreached);
    }
  }
  // What is left are rings, in which each one has a parent.
  for (const auto& [id, entry] : tree.GetNodes()) {
    walk.Append(entry, outline.unreached);
  }
  return outline;
}

}  // namespace LbtTev::Report
