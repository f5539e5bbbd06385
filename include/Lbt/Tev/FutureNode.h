#pragma once

#include <string>

#include "Lbt/Tev/Node.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// Stands for a node of a kind that this build does not know: it keeps the node's
/// name and place in the tree.
class FutureNode final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return "FutureNode"; }

  std::string storedType;  ///< the kind's name, as the tree record has it
  LbtUtil::AttributeMap attributes;
};

}  // namespace LbtTev
