#pragma once

#include <memory>

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/TreeRecord.h"

namespace LbtTev {

/// Makes the node of a tree record and reads its data, from where the streams stand:
/// of the class that the record's type names, a FutureNode for any other name, none
/// for an empty one. Throws what reading streams and records throws.
[[nodiscard]] std::unique_ptr<Node> ReadNode(ModelStreams& streams, const TreeRecord& record,
                                             unsigned int idOffset, AttributeSetCache& cache);

}  // namespace LbtTev
