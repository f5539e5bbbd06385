#pragma once

#include <iterator>
#include <map>
#include <memory_resource>

#include "Lbt/Log/Raise.h"

namespace LbtAdt {

/// One entry of a tree: its links, by id (0: none), and its data. The children of a
/// node form a doubly linked list from firstChild to lastChild.
template <class T>
struct TreeNode {
  unsigned int id = 0;
  unsigned int parent = 0;
  unsigned int previousSibling = 0;
  unsigned int nextSibling = 0;
  unsigned int firstChild = 0;
  unsigned int lastChild = 0;
  T data{};
};

/// A tree whose entries are found by id. It starts with one entry, the root: id 1,
/// without links and with default data.
///
/// Id 0 means none in every link, so no lookup finds it, even where an entry claims
/// it; walking over the entries does meet such a one.
///
/// Entries lie in memory that is given back with the tree as a whole.
template <class T>
class Tree {
 public:
  using Nodes = std::pmr::map<unsigned int, TreeNode<T>>;

  /// Id of the root.
  static constexpr unsigned int kRootId = 1;

  Tree() { nodes_[kRootId].id = kRootId; }
  ~Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  /// The entry of "id". Throws "Element Not Found".
  [[nodiscard]] const TreeNode<T>& GetReqNode(const unsigned int& id) const {
    const TreeNode<T>* node = FindNode(id);
    if (node == nullptr) {
      RaiseNotFound();
    }
    return *node;
  }
  [[nodiscard]] TreeNode<T>& GetReqNode(const unsigned int& id) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): this tree can be changed
    return const_cast<TreeNode<T>&>(static_cast<const Tree&>(*this).GetReqNode(id));
  }

  /// The entry of "id", or null.
  [[nodiscard]] const TreeNode<T>* FindNode(unsigned int id) const {
    const auto found = id == 0 ? nodes_.end() : nodes_.find(id);
    return found == nodes_.end() ? nullptr : &found->second;
  }

  /// The first child of the entry at a place in GetNodes(). Throws "Element Not Found".
  [[nodiscard]] const TreeNode<T>& GetFirstChild(typename Nodes::const_iterator parent) const {
    const unsigned int id = parent->second.firstChild;
    const auto next = std::next(parent);  // mostly the child: it is written after its parent
    return id != 0 && next != nodes_.end() && next->first == id ? next->second : GetReqNode(id);
  }

  /// The entry of the current id. Throws "Element Not Found".
  [[nodiscard]] TreeNode<T>& GetCurrentNode() { return GetReqNode(currentId_); }

  /// Makes "id" the current one. Throws "Element Not Found" where it is not below the
  /// next free id.
  void SetCurrentId(unsigned int id) {
    if (id >= nextId_) {
      RaiseNotFound();
    }
    currentId_ = id;
  }

  [[nodiscard]] unsigned int GetCurrentId() const { return currentId_; }

  /// One more than the largest id in use.
  [[nodiscard]] unsigned int GetNextId() const { return nextId_; }

  /// All entries, in ascending order of id.
  [[nodiscard]] const Nodes& GetNodes() const { return nodes_; }

 protected:
  /// Adds an entry, or replaces the one of its id, and returns the data that was there.
  T Insert(const TreeNode<T>& node) {
    // Ids mostly ascend: a new one goes to the end.
    TreeNode<T>& entry = nodes_.try_emplace(nodes_.end(), node.id)->second;
    T former = entry.data;
    entry = node;
    if (nextId_ <= node.id) {
      nextId_ = node.id + 1;
    }
    return former;
  }

  /// Adds an entry with a new id as the last child of "parent" and makes it the
  /// current one. Throws "Element Not Found", with no entry changed and no id taken,
  /// where the parent or its last child is missing.
  TreeNode<T>& AppendChild(unsigned int parent) {
    SetCurrentId(parent);
    TreeNode<T>& parentNode = GetReqNode(parent);
    TreeNode<T>* lastChild =
        parentNode.lastChild == 0 ? nullptr : &GetReqNode(parentNode.lastChild);
    const unsigned int newId = nextId_++;
    TreeNode<T>& node = nodes_[newId];
    node = {newId, parent, parentNode.lastChild, 0, 0, 0, T{}};
    (lastChild == nullptr ? parentNode.firstChild : lastChild->nextSibling) = newId;
    parentNode.lastChild = newId;
    currentId_ = newId;
    return node;
  }

 private:
  [[noreturn]] static void RaiseNotFound() {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ElementNotFound, "Element Not Found",
                    "include/Lbt/Adt/AdtTree");
  }

  std::pmr::monotonic_buffer_resource arena_;  // entries are never taken out again
  Nodes nodes_{&arena_};
  unsigned int nextId_ = kRootId + 1;
  unsigned int currentId_ = 0;
};

}  // namespace LbtAdt
