// Puts the entries of a tree in the order in which they are drawn.

#include "Lbt/Tev/TevInfo/TreeOutline.h"

#include "Lbt/Adt/ChildWalk.h"

namespace LbtTev::Report {

namespace {

using TreeEntry = LbtAdt::TreeNode<Node*>;

/// Lists what a walk meets.
struct Lister {
  void OnEntry(const TreeEntry& entry, std::size_t depth) const {
    items->push_back({&entry, depth});
  }
  void OnMetAgain(const TreeEntry& /*entry*/, const TreeEntry* /*firstParent*/,
                  const TreeEntry& /*parent*/, bool /*isOpen*/) const {}

  std::vector<OutlineItem>* items;
};

}  // namespace

TreeOutline OutlineOf(const Tree& tree) {
  TreeOutline outline;
  Lister lister{&outline.reached};
  LbtAdt::ChildWalk<Node*, Lister> walk(tree, lister);
  walk.FromRoot();
  lister.items = &outline.unreached;
  walk.FromTheRest([](const TreeEntry& /*top*/) {});
  return outline;
}

}  // namespace LbtTev::Report
