#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Lbt/Adt/AdtTree.h"

namespace LbtAdt {

/// Walks over the lists of children of a tree: each entry before its children, each one once
/// however the links of a damaged file run, and each list up to the first entry that was met
/// before, since the rest is the same. Takes time and memory in proportion to the number of
/// entries, at any depth.
///
/// Visitor has OnEntry(entry, depth), with depth 0 for the entry that a walk starts from, and
/// OnMetAgain(entry, firstParent, parent, isOpen): the list of "parent" names an entry that was
/// met in the list of "firstParent" (null where a walk started from it); "isOpen" where it stands
/// above itself.
template <class T, class Visitor>
class ChildWalk {
 public:
  using Entry = TreeNode<T>;

  /// Both must outlive this.
  ChildWalk(const Tree<T>& tree, Visitor& visitor) : tree_(&tree), visitor_(&visitor) {}

  /// Walks over an entry and what lies below it; false where that was met before.
  bool From(const Entry& top) {
    if (!Enter(top, nullptr)) {
      return false;
    }
    while (!open_.empty()) {
      Step();
    }
    return true;
  }

  /// Walks over the root, where there is one.
  void FromRoot() {
    if (const Entry* root = tree_->FindNode(Tree<T>::kRootId); root != nullptr) {
      From(*root);
    }
  }

  /// Walks over what has not been met: first from the entries that no list of children names, then
  /// from what is left, which are rings. Calls onTop(entry) after the walk from each.
  template <class OnTop>
  void FromTheRest(OnTop onTop) {
    const auto named = NamedAsChildren();
    for (const bool areRings : {false, true}) {
      for (const auto& [id, entry] : tree_->GetNodes()) {
        if ((areRings || !named.contains(&entry)) && From(entry)) {
          onTop(entry);
        }
      }
    }
  }

 private:
  struct Met {
    const Entry* parent;
    bool isOpen;  // it, or what lies below it, is being walked over
  };
  struct Level {
    const Entry* entry;
    Met* met;  // of the entry; elements do not move
    const Entry* next;
  };

  bool Enter(const Entry& entry, const Entry* parent) {
    const auto [met, isNew] = mets_.try_emplace(&entry, Met{parent, true});
    if (!isNew) {
      return false;
    }
    visitor_->OnEntry(entry, open_.size());
    open_.push_back({&entry, &met->second, tree_->FindNode(entry.firstChild)});
    return true;
  }

  /// Goes to the next child of the innermost open list, or closes that.
  void Step() {
    const Entry* parent = open_.back().entry;
    const Entry* child = open_.back().next;
    if (child == nullptr) {
      open_.back().met->isOpen = false;
      open_.pop_back();
    } else if (const auto met = mets_.find(child); met != mets_.end()) {
      open_.back().next = nullptr;
      visitor_->OnMetAgain(*child, met->second.parent, *parent, met->second.isOpen);
    } else {
      open_.back().next = tree_->FindNode(child->nextSibling);
      Enter(*child, parent);
    }
  }

  /// The entries that stand in some list of children.
  [[nodiscard]] std::unordered_set<const Entry*> NamedAsChildren() const {
    std::unordered_set<const Entry*> named;
    for (const auto& [id, parent] : tree_->GetNodes()) {
      const Entry* child = tree_->FindNode(parent.firstChild);
      while (child != nullptr && named.insert(child).second) {
        child = tree_->FindNode(child->nextSibling);
      }
    }
    return named;
  }

  const Tree<T>* tree_;
  Visitor* visitor_;
  std::unordered_map<const Entry*, Met> mets_;
  std::vector<Level> open_;  // a stack of its own: models may nest to any depth
};

}  // namespace LbtAdt
