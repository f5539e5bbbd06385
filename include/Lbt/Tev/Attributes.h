#pragma once

#include <string_view>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtUtil {

/// Reads one attribute set of a stream into "attributes"; a name that is there gets
/// the new value. A set is six lists, each a value of its own: names (strings), type
/// codes (bytes), unsigned integers (u32), floats, doubles, texts (strings). The
/// value of a name is the next unused one of its kind; an unknown type code repeats
/// the kind before it, or at the start means an unsigned integer.
///
/// Throws "Out of Bounds" ("Not enough bytes in the block") where a list is shorter
/// than the names need, and what reading streams throws.
void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes);

}  // namespace LbtUtil
