#pragma once

#include <string>

namespace LbtTev {

/// Base of all nodes of a model tree. Nodes are made by the tree loader, owned by
/// the tree and never copied.
class Node {
 public:
  Node() = default;
  virtual ~Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  /// The name of the node's kind, as tree records have it.
  [[nodiscard]] virtual std::string GetType() const { return "Node"; }

  /// The newest record version of the kind that this build understands.
  [[nodiscard]] virtual std::string GetVersion() const { return "0.1"; }

  [[nodiscard]] virtual bool IsLoaded() const { return loaded; }

  /// Hooks of a writer, which this program does not contain: they do nothing.
  virtual void Load(const std::string& /*source*/) {}
  virtual void Save() {}

  std::string name;
  std::string recordVersion;  ///< version of the record that the node was read from
  bool loaded = false;
  bool reservedFlag = false;      ///< carried, without a meaning here
  unsigned int reservedWord = 0;  ///< carried, without a meaning here
};

}  // namespace LbtTev
