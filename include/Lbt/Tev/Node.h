#pragma once

#include <string>
#include <type_traits>
#include <typeinfo>

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

/// What dynamic_cast to a class without derived ones gives, in a fraction of its time: the node
/// as one of class T, or null where it is none or is null.
template <class T, class Base>
[[nodiscard]] auto NodeCast(Base* node) {
  static_assert(std::is_final_v<T> && std::is_base_of_v<Node, T>);
  using Target = std::conditional_t<std::is_const_v<Base>, const T, T>;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast): the type is the very one
  return node != nullptr && typeid(*node) == typeid(T) ? static_cast<Target*>(node) : nullptr;
}

}  // namespace LbtTev
